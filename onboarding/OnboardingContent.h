#pragma once

#include "app/ShortcutCommands.h"
#include "toast/ToastHost.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace dowsel {

enum class OnboardingStep { welcome, downloads, accessibility, tryIt };
inline constexpr int onboardingStepCount = 4;

// The permission asked for on the current step.
enum class OnboardingPermissionStatus { idle, requesting, denied, granted };

// Why a step is `denied`, which decides the message and the buttons.
enum class OnboardingProblem {
    none,
    downloadsUnreadable, // the folder exists but cannot be listed
    downloadsMissing, // there is no Downloads folder yet; Dowsel offers to create it
    shortcutsBlocked, // another program holds some of the key combinations
    shortcutsUnavailable, // no way to grab keys here (no X server)
    practiceNotShown, // the practice file got no toast in time
};

// Everything the island shows, decided without a screen.
struct OnboardingState {
    OnboardingStep step = OnboardingStep::welcome;
    OnboardingPermissionStatus status = OnboardingPermissionStatus::idle;
    OnboardingProblem problem = OnboardingProblem::none;
    QStringList blockedShortcuts; // "Super+Shift+T", when `problem` is shortcutsBlocked
    QString downloadsFolder; // for display
    // What carries the shortcuts on this session; on Wayland, what the portal answered (the
    // commands take its place when it is missing, declined or gave no keys).
    ShortcutRoute shortcutRoute = ShortcutRoute::keyGrabs;
    PortalAnswer portalAnswer = PortalAnswer::missing;
};

struct OnboardingButton {
    enum class Kind { primary, secondary };
    QString title;
    QString keycap; // empty: none
    Kind kind = Kind::primary;
    bool enabled = true;
};

struct SampleBadge {
    QString keycap;
    QString label;
};

struct OnboardingContent {
    QString icon; // freedesktop icon name of the header symbol
    QString title;
    QString body;
    std::vector<SampleBadge> badges;
    std::optional<QString> message; // shown under the body when something needs the user
    OnboardingButton primary;
    std::optional<OnboardingButton> openSettings;
    bool showsSkip = false;
    // The `dowsel toast` commands to bind, with their copy buttons, in place of the badges.
    bool showsCommands = false;
    int stepIndex = 0; // the filled step dot, 0...3
};

OnboardingContent onboardingContent(const OnboardingState &state);

// The items of a step that appear one after another: icon, title, body, badges or message, buttons.
inline constexpr int onboardingAppearItems = 5;

// The practice hint under the toast.
struct HintRow {
    QString keycap;
    QString text;
};

struct HintContent {
    QString icon;
    QString headline;
    std::vector<HintRow> rows; // the shortcuts, while the toast is up
    QString settingsLink; // under the first row, empty when there are no rows
    QString tip;
    QString body;
    QString doneTitle;
    QString concludedDismissTitle; // empty until concluded
};

// `expiryText` is the default expiry as the settings print it ("1 hour"); `route` decides
// whether the rows name keys or the commands the user bound.
HintContent hintContent(HintPhase phase, const QString &expiryText, bool markedTemporary,
                        ShortcutRoute route = ShortcutRoute::keyGrabs);

} // namespace dowsel
