#include "core/DownloadCompletion.h"

#include "core/TrackedFile.h"

namespace dowsel::completion {

namespace {

QByteArray extensionOf(const QByteArray &name)
{
    const qsizetype dot = name.lastIndexOf('.');
    return dot > 0 ? name.mid(dot + 1).toLower() : QByteArray();
}

} // namespace

bool isCompanionName(const QByteArray &name)
{
    const QByteArray lower = name.toLower();
    return lower.endsWith(".part") || lower.endsWith(".aria2");
}

std::optional<QByteArray> pendingCompanion(const QByteArray &path, const FileStatus &status)
{
    if (!status.isRegularFile)
        return std::nullopt;
    const QByteArray aria2Control = path + ".aria2";
    if (statPath(aria2Control))
        return aria2Control;
    if (status.size != 0)
        return std::nullopt;
    // Firefox's placeholder: its ".part" has a random stem but keeps the extension.
    const QByteArray name = fileNameOf(path);
    const QByteArray folder = path.left(path.size() - name.size());
    const QByteArray extension = extensionOf(name);
    const auto names = listDirectory(folder.isEmpty() ? QByteArray(".") : folder);
    if (!names)
        return std::nullopt;
    for (const QByteArray &candidate : *names) {
        if (!candidate.toLower().endsWith(".part") || candidate.size() <= 5)
            continue;
        if (extensionOf(candidate.left(candidate.size() - 5)) == extension)
            return folder + candidate;
    }
    return std::nullopt;
}

} // namespace dowsel::completion
