#include "core/Logging.h"

#include <cstdio>
#include <mutex>

Q_LOGGING_CATEGORY(lcMonitor, "dowsel.monitor", QtInfoMsg)
Q_LOGGING_CATEGORY(lcProcessor, "dowsel.processor", QtInfoMsg)
Q_LOGGING_CATEGORY(lcStore, "dowsel.store", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTags, "dowsel.tags", QtInfoMsg)
Q_LOGGING_CATEGORY(lcCleanup, "dowsel.cleanup", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTrash, "dowsel.trash", QtInfoMsg)
Q_LOGGING_CATEGORY(lcToast, "dowsel.toast", QtInfoMsg)
Q_LOGGING_CATEGORY(lcShortcuts, "dowsel.shortcuts", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFolderIndex, "dowsel.folderindex", QtInfoMsg)
Q_LOGGING_CATEGORY(lcMove, "dowsel.move", QtInfoMsg)
Q_LOGGING_CATEGORY(lcApp, "dowsel.app", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOnboarding, "dowsel.onboarding", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPreferences, "dowsel.preferences", QtInfoMsg)

namespace dowsel {

void printFailure(const QString &line)
{
    static std::mutex mutex;
    // One line per failure: embedded newlines from file names would split it.
    QString flat = line;
    flat.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    const QByteArray bytes = flat.toUtf8();
    std::lock_guard lock(mutex);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

} // namespace dowsel
