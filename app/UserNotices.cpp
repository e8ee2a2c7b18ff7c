#include "app/UserNotices.h"

#include "core/Tags.h"
#include "core/TrackedFile.h"

#include <QCoreApplication>

namespace dowsel::UserNotices {

namespace {

constexpr std::size_t listedFailures = 5;

} // namespace

Notice storeCannotOpen(const QString &error)
{
    return {QCoreApplication::translate("UserNotices", "Dowsel could not start"),
            QCoreApplication::translate("UserNotices",
                                        "Dowsel cannot open its list of the files it keeps track of: %1\n"
                                        "The file was left as it is. Move it away or repair it, then start Dowsel "
                                        "again.")
                .arg(error),
            Notice::Urgency::critical};
}

Notice storeReplaced(const QString &damage, const QString &setAsidePath)
{
    return {QCoreApplication::translate("UserNotices", "Dowsel started a new list of your downloads"),
            QCoreApplication::translate("UserNotices",
                                        "Its list of the files it keeps track of was damaged (%1). The old list was "
                                        "moved to %2 and a new one was started with the files now in Downloads. "
                                        "Files you had kept as temporary will not go to the Trash by themselves.")
                .arg(damage, setAsidePath),
            Notice::Urgency::critical};
}

Notice storeInMemory(const QString &damage, const QString &error)
{
    return {QCoreApplication::translate("UserNotices", "Dowsel cannot save its list of your downloads"),
            QCoreApplication::translate("UserNotices",
                                        "Its list of the files it keeps track of was damaged (%1) and could not be "
                                        "replaced: %2. Until Dowsel starts again, nothing it tracks is saved.")
                .arg(damage, error),
            Notice::Urgency::critical};
}

Notice expiriesNotTrashed(const std::vector<TrashFailure> &failures)
{
    if (failures.size() == 1) {
        const TrashFailure &failure = failures.front();
        return {QCoreApplication::translate("UserNotices", "A file could not go to the Trash"),
                QCoreApplication::translate("UserNotices", "%1 expired, but the Trash refused it: %2. It stays in %3.")
                    .arg(displayText(fileNameOf(failure.path)), failure.error, displayText(parentPath(failure.path)))};
    }
    QStringList lines;
    for (std::size_t i = 0; i < failures.size() && i < listedFailures; ++i)
        lines.append(displayText(fileNameOf(failures[i].path)) + QStringLiteral(": ") + failures[i].error);
    if (failures.size() > listedFailures)
        lines.append(QCoreApplication::translate("UserNotices", "and %n more", nullptr,
                                                 int(failures.size() - listedFailures)));
    lines.append(QCoreApplication::translate("UserNotices",
                                             "They expired, but the Trash refused them; they stay where they are."));
    return {QCoreApplication::translate("UserNotices", "%n files could not go to the Trash", nullptr,
                                        int(failures.size())),
            lines.join(QLatin1Char('\n'))};
}

Notice storeWritesFailing(const QString &error)
{
    return {QCoreApplication::translate("UserNotices", "Dowsel cannot save changes"),
            QCoreApplication::translate("UserNotices",
                                        "Its list of the files it keeps track of cannot be written: %1. Dowsel keeps "
                                        "trying; new downloads are kept in memory until the list can be written "
                                        "again.")
                .arg(error),
            Notice::Urgency::critical};
}

} // namespace dowsel::UserNotices
