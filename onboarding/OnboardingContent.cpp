#include "onboarding/OnboardingContent.h"

#include <QCoreApplication>

namespace dowsel {

namespace {

OnboardingContent stepContent(const OnboardingState &state)
{
    const OnboardingStep step = state.step;
    OnboardingContent content;
    content.stepIndex = int(step);
    content.primary.keycap = QStringLiteral("Shift+Enter");
    switch (step) {
    case OnboardingStep::welcome:
        content.icon = QStringLiteral("starred");
        content.title = QCoreApplication::translate("Onboarding", "Welcome to Dowsel");
        content.body = QCoreApplication::translate(
            "Onboarding", "Dowsel watches your Downloads folder for new files and helps you sort them or auto-clean "
                          "them — all from a little toast at the top of your screen.");
        content.primary.title = QCoreApplication::translate("Onboarding", "Get Started");
        break;
    case OnboardingStep::downloads:
        content.icon = QStringLiteral("folder-download");
        content.title = QCoreApplication::translate("Onboarding", "Allow access to Downloads");
        content.body = QCoreApplication::translate(
            "Onboarding", "Dowsel needs to see new files in your Downloads folder. It only checks that it can read "
                          "the folder — there is nothing to allow.");
        content.primary.title = QCoreApplication::translate("Onboarding", "Grant Access");
        break;
    case OnboardingStep::accessibility:
        content.icon = QStringLiteral("input-keyboard");
        content.title = QCoreApplication::translate("Onboarding", "Enable keyboard shortcuts");
        content.body = QCoreApplication::translate(
            "Onboarding", "Shortcuts let you keep, move, or clean a download without reaching for the mouse. "
                          "Dowsel checks that no other program already uses them.");
        content.badges = {{QStringLiteral("Super+Shift+T"), QCoreApplication::translate("Onboarding", "Keep")},
                          {QStringLiteral("Super+Shift+M"), QCoreApplication::translate("Onboarding", "Move")},
                          {QStringLiteral("Super+Shift+."), QCoreApplication::translate("Onboarding", "More")}};
        content.primary.title = QCoreApplication::translate("Onboarding", "Enable Shortcuts");
        content.showsSkip = true;
        if (state.shortcutRoute == ShortcutRoute::portal) {
            content.body = QCoreApplication::translate(
                "Onboarding", "Shortcuts let you keep, move, or clean a download without reaching for the mouse. "
                              "Your desktop binds them for Dowsel — it may ask you to confirm or change the keys.");
        } else if (state.shortcutRoute == ShortcutRoute::commands) {
            if (state.portalAnswer == PortalAnswer::declined)
                content.body = QCoreApplication::translate("Onboarding",
                    "You declined Dowsel's shortcuts in your desktop's dialog. To use the keyboard anyway, bind "
                    "these commands to keys in its keyboard settings — each acts on the toast that is showing.");
            else if (state.portalAnswer == PortalAnswer::unassigned)
                content.body = QCoreApplication::translate("Onboarding",
                    "Your desktop took Dowsel's shortcuts but gave them no keys. Give them keys in its shortcut "
                    "settings if it lists them, or bind these commands to keys — each acts on the toast that is "
                    "showing.");
            else
                content.body = QCoreApplication::translate("Onboarding",
                    "Your desktop doesn't let Dowsel set up its own shortcuts. Bind these commands to keys in its "
                    "keyboard settings — each acts on the toast that is showing.");
            content.badges.clear();
            content.showsCommands = true;
            content.primary.title = QCoreApplication::translate("Onboarding", "I've Bound Them");
            // The desktop's keyboard settings, where the commands are bound.
            content.openSettings = OnboardingButton{QCoreApplication::translate("Onboarding", "Open Settings"),
                                                    QString(), OnboardingButton::Kind::secondary};
        }
        break;
    case OnboardingStep::tryIt:
        content.icon = QStringLiteral("media-playback-start");
        content.title = QCoreApplication::translate("Onboarding", "Try it on a real file");
        content.body = QCoreApplication::translate(
            "Onboarding", "Dowsel will drop a little practice file in your Downloads so you can see the toast for "
                          "real and try the shortcuts. Don't worry — it's harmless, and you decide what happens to "
                          "it.");
        content.primary.title = QCoreApplication::translate("Onboarding", "Test it now");
        break;
    }
    return content;
}

QString problemMessage(const OnboardingState &state)
{
    switch (state.problem) {
    case OnboardingProblem::none:
        break;
    case OnboardingProblem::downloadsUnreadable:
        return QCoreApplication::translate("Onboarding",
            "Access was denied. Make your Downloads folder readable under Permissions in your file manager, "
            "then try again.");
    case OnboardingProblem::downloadsMissing:
        return QCoreApplication::translate(
            "Onboarding", "There is no Downloads folder at %1 yet. Dowsel can create it for you.")
            .arg(state.downloadsFolder);
    case OnboardingProblem::shortcutsBlocked:
        return QCoreApplication::translate("Onboarding",
            "Another program already uses %1. Free them in your desktop's keyboard settings, or skip — the "
            "other shortcuts and the toast's buttons still work.")
            .arg(state.blockedShortcuts.join(QStringLiteral(", ")));
    case OnboardingProblem::shortcutsUnavailable:
        return QCoreApplication::translate("Onboarding",
            "Global shortcuts aren't available on this desktop. Skip this step — the toast's buttons still "
            "work.");
    case OnboardingProblem::practiceNotShown:
        return QCoreApplication::translate("Onboarding",
            "The practice toast didn't show up — Dowsel may not be watching your Downloads folder yet. Try "
            "again, or skip for now.");
    }
    return {};
}

} // namespace

OnboardingContent onboardingContent(const OnboardingState &state)
{
    OnboardingContent content = stepContent(state);
    // Shift+Enter is grabbed for the island on X11 only; on Wayland no key of Dowsel's own
    // reaches it from another window.
    if (state.shortcutRoute != ShortcutRoute::keyGrabs)
        content.primary.keycap.clear();
    const bool isDownloads = state.step == OnboardingStep::downloads;
    const bool isShortcuts = state.step == OnboardingStep::accessibility;
    const OnboardingButton openSettings{isDownloads ? QCoreApplication::translate("Onboarding", "Open File Manager")
                                                    : QCoreApplication::translate("Onboarding", "Open Settings"),
        QString(), OnboardingButton::Kind::secondary};

    switch (state.status) {
    case OnboardingPermissionStatus::idle:
        break;
    case OnboardingPermissionStatus::requesting:
        if (isDownloads || isShortcuts) {
            content.primary.title = isDownloads ? QCoreApplication::translate("Onboarding", "Waiting for permission…")
                : state.shortcutRoute == ShortcutRoute::portal
                ? QCoreApplication::translate("Onboarding", "Waiting for your desktop…")
                : QCoreApplication::translate("Onboarding", "Checking shortcuts…");
            content.primary.enabled = false;
            content.openSettings = openSettings;
        }
        break;
    case OnboardingPermissionStatus::denied:
        content.message = problemMessage(state);
        if (state.problem == OnboardingProblem::downloadsMissing) {
            content.primary.title = QCoreApplication::translate("Onboarding", "Create Folder");
        } else {
            content.primary.title = QCoreApplication::translate("Onboarding", "Try Again");
            if (isDownloads || isShortcuts)
                content.openSettings = openSettings;
        }
        if (state.step == OnboardingStep::tryIt)
            content.showsSkip = true;
        break;
    case OnboardingPermissionStatus::granted:
        content.icon = QStringLiteral("emblem-default");
        content.openSettings.reset();
        if (isDownloads || isShortcuts)
            content.primary.title = isDownloads ? QCoreApplication::translate("Onboarding", "Downloads access granted")
                : state.shortcutRoute == ShortcutRoute::commands
                ? QCoreApplication::translate("Onboarding", "Commands bound")
                : QCoreApplication::translate("Onboarding", "Shortcuts active");
        content.primary.enabled = false;
        content.showsSkip = false;
        break;
    }
    return content;
}

HintContent hintContent(HintPhase phase, const QString &expiryText, bool markedTemporary, ShortcutRoute route)
{
    std::vector<HintRow> rows{
        {QStringLiteral("Super+Shift+T"),
            QCoreApplication::translate("Onboarding", "Keep it — Dowsel auto-deletes it in ") + expiryText},
        {QStringLiteral("Super+Shift+Alt+T"),
            QCoreApplication::translate("Onboarding", "Keep it for a custom amount of time you choose.")},
        {QStringLiteral("Super+Shift+M"),
            QCoreApplication::translate("Onboarding", "Move it somewhere, with fuzzy search.")},
        {QStringLiteral("Super+Shift+."),
            QCoreApplication::translate("Onboarding", "More — open, copy, share, or delete.")},
        {QStringLiteral("Esc"),
            QCoreApplication::translate("Onboarding", "Dismiss — the file just stays in Downloads.")},
    };
    if (route == ShortcutRoute::portal) {
        // The desktop owns the keys: a bare Escape is asked for as Super+Shift+Escape.
        rows.back().keycap = QStringLiteral("Super+Shift+Esc");
    } else if (route == ShortcutRoute::commands) {
        // No keys of Dowsel's own reach it: the commands the user bound to keys of their choice.
        const QString actions[] = {QStringLiteral("keep"), QStringLiteral("time"), QStringLiteral("move"),
                                   QStringLiteral("more"), QStringLiteral("dismiss")};
        for (size_t i = 0; i < rows.size(); ++i)
            rows[i].keycap = QStringLiteral("dowsel toast ") + actions[i];
    }
    const bool commands = route == ShortcutRoute::commands;
    HintContent content;
    content.doneTitle = QCoreApplication::translate("Onboarding", "Done");
    switch (phase) {
    case HintPhase::running:
        content.icon = QStringLiteral("input-mouse");
        content.headline = commands
            ? QCoreApplication::translate("Onboarding", "Your practice file is live — try the keys you bound on it.")
            : QCoreApplication::translate("Onboarding", "Your practice file is live — try the shortcuts on it.");
        content.rows = rows;
        content.tip = QCoreApplication::translate("Onboarding", "Hover the toast to pause the countdown.");
        break;
    case HintPhase::countdownEnded:
        content.icon = QStringLiteral("appointment-soon");
        content.headline = QCoreApplication::translate(
            "Onboarding", "Time's up. Dowsel just leaves it in your Downloads — no rush, keep exploring.");
        content.rows = rows;
        break;
    case HintPhase::concluded:
        content.icon = QStringLiteral("emblem-default");
        content.headline = QCoreApplication::translate("Onboarding", "Nice — you've got the hang of it!");
        content.body = markedTemporary
            ? QCoreApplication::translate("Onboarding",
                "Your practice file now wears the “Dowsel: Temporary” tag — file managers that show "
                "tags, such as Dolphin, display it. That's how Dowsel marks anything temporary. Open "
                "Dowsel from the system tray anytime to see how long it has left.")
            : QCoreApplication::translate("Onboarding",
                "Your practice file is all yours — keep it, move it, or toss it whenever. You're "
                "ready to go.");
        content.concludedDismissTitle = QCoreApplication::translate("Onboarding", "All right");
        break;
    }
    if (!content.rows.empty())
        content.settingsLink = QCoreApplication::translate("Onboarding", "Change the time in Settings");
    return content;
}

} // namespace dowsel
