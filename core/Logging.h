#pragma once

#include <QLoggingCategory>
#include <QString>

// One category per component. Debug output (the trace lines) is off unless switched on, e.g.
// QT_LOGGING_RULES="dowsel.*.debug=true".
Q_DECLARE_LOGGING_CATEGORY(lcMonitor)
Q_DECLARE_LOGGING_CATEGORY(lcProcessor)
Q_DECLARE_LOGGING_CATEGORY(lcStore)
Q_DECLARE_LOGGING_CATEGORY(lcTags)
Q_DECLARE_LOGGING_CATEGORY(lcCleanup)
Q_DECLARE_LOGGING_CATEGORY(lcTrash)
Q_DECLARE_LOGGING_CATEGORY(lcToast)
Q_DECLARE_LOGGING_CATEGORY(lcShortcuts)
Q_DECLARE_LOGGING_CATEGORY(lcFolderIndex)
Q_DECLARE_LOGGING_CATEGORY(lcMove)
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcOnboarding)
Q_DECLARE_LOGGING_CATEGORY(lcPreferences)

namespace dowsel {

// A failed file operation the user cannot act on: one line on standard output, such as
// "Failed to trash report.pdf: Permission denied".
void printFailure(const QString &line);

} // namespace dowsel
