#include "toast/GlobalShortcuts.h"

#include "core/Logging.h"
#include "platform/Executor.h"

#include <algorithm>

namespace dowsel {

namespace {

constexpr unsigned superShift = SuperModifier | ShiftModifier;

const std::vector<KeyCombination> &superShiftShortcuts()
{
    static const std::vector<KeyCombination> combinations{
        {ShortcutKey::S, superShift},      {ShortcutKey::C, superShift},      {ShortcutKey::T, superShift},
        {ShortcutKey::O, superShift},      {ShortcutKey::M, superShift},      {ShortcutKey::Period, superShift},
        {ShortcutKey::Backspace, superShift},
    };
    return combinations;
}

ShortcutAction superShiftAction(ShortcutKey key)
{
    switch (key) {
    case ShortcutKey::S:
        return ShortcutAction::share;
    case ShortcutKey::C:
        return ShortcutAction::copy;
    case ShortcutKey::T:
        return ShortcutAction::markTemporary;
    case ShortcutKey::O:
        return ShortcutAction::open;
    case ShortcutKey::M:
        return ShortcutAction::move;
    case ShortcutKey::Period:
        return ShortcutAction::more;
    case ShortcutKey::Backspace:
        return ShortcutAction::deleteNow;
    case ShortcutKey::Escape:
    case ShortcutKey::Return:
        break;
    }
    return ShortcutAction::dismiss; // not reached: only called for keys of superShiftShortcuts()
}

const KeyCombination customTimeShortcut{ShortcutKey::T, superShift | AltModifier};
// Alt turns an action into its variant, as with T: here the delete of the new copies only.
const KeyCombination trashCopiesShortcut{ShortcutKey::Backspace, superShift | AltModifier};
const KeyCombination dismissShortcut{ShortcutKey::Escape, NoModifier};
const KeyCombination onboardingShortcut{ShortcutKey::Return, ShiftModifier};

bool contains(const std::vector<KeyCombination> &list, KeyCombination combination)
{
    return std::find(list.begin(), list.end(), combination) != list.end();
}

QString keyText(ShortcutKey key)
{
    switch (key) {
    case ShortcutKey::T:
        return QStringLiteral("T");
    case ShortcutKey::S:
        return QStringLiteral("S");
    case ShortcutKey::C:
        return QStringLiteral("C");
    case ShortcutKey::O:
        return QStringLiteral("O");
    case ShortcutKey::M:
        return QStringLiteral("M");
    case ShortcutKey::Period:
        return QStringLiteral(".");
    case ShortcutKey::Backspace:
        return QStringLiteral("Backspace");
    case ShortcutKey::Escape:
        return QStringLiteral("Esc");
    case ShortcutKey::Return:
        return QStringLiteral("Enter");
    }
    return {};
}

} // namespace

std::optional<ShortcutAction> shortcutAction(KeyCombination combination, const ShortcutContext &context)
{
    if (context.isOnboardingActive) {
        if (combination == onboardingShortcut)
            return ShortcutAction::onboardingPrimary;
        return std::nullopt;
    }
    if (!context.isToastShown || context.isSecondarySurfaceOpen)
        return std::nullopt;
    if (combination == customTimeShortcut)
        return ShortcutAction::customTime;
    if (combination == trashCopiesShortcut)
        return ShortcutAction::trashCopies;
    if (combination == dismissShortcut)
        return ShortcutAction::dismiss;
    if (combination.modifiers == superShift && contains(superShiftShortcuts(), combination))
        return superShiftAction(combination.key);
    return std::nullopt;
}

const std::vector<KeyCombination> &toastShortcuts()
{
    static const std::vector<KeyCombination> combinations = [] {
        std::vector<KeyCombination> all{customTimeShortcut, trashCopiesShortcut};
        all.insert(all.end(), superShiftShortcuts().begin(), superShiftShortcuts().end());
        all.push_back(dismissShortcut);
        return all;
    }();
    return combinations;
}

std::vector<KeyCombination> combinationsToGrab(const ShortcutContext &context)
{
    if (context.isOnboardingActive)
        return {onboardingShortcut};
    if (!context.isToastShown || context.isSecondarySurfaceOpen)
        return {};
    return toastShortcuts();
}

std::optional<CommandRefusal> commandRefusal(const ShortcutContext &context)
{
    if (context.isOnboardingActive)
        return CommandRefusal::onboarding;
    if (!context.isToastShown)
        return CommandRefusal::noToast;
    if (context.isSecondarySurfaceOpen)
        return CommandRefusal::inputOpen;
    return std::nullopt;
}

QString shortcutText(KeyCombination combination)
{
    QStringList parts;
    if (combination.modifiers & SuperModifier)
        parts << QStringLiteral("Super");
    if (combination.modifiers & ControlModifier)
        parts << QStringLiteral("Ctrl");
    if (combination.modifiers & ShiftModifier)
        parts << QStringLiteral("Shift");
    if (combination.modifiers & AltModifier)
        parts << QStringLiteral("Alt");
    parts << keyText(combination.key);
    return parts.join(QLatin1Char('+'));
}

GlobalShortcuts::GlobalShortcuts(KeyGrabber &grabber, Executor &mainExecutor) : m_grabber(grabber), m_main(mainExecutor)
{
}

GlobalShortcuts::~GlobalShortcuts()
{
    m_grabber.onPressed = nullptr;
    m_grabber.onAltChanged = nullptr;
    if (!m_grabbed.empty())
        m_grabber.ungrabAll();
}

bool GlobalShortcuts::installEventTap()
{
    if (m_installed)
        return true;
    if (!m_grabber.isAvailable())
        return false;
    m_grabber.onPressed = [this](KeyCombination combination, const QString &activationToken) {
        handlePress(combination, activationToken);
    };
    m_grabber.onAltChanged = [this](bool isDown) { handleAlt(isDown); };

    // A trial grab of everything, released at once, tells which combinations are taken.
    std::vector<KeyCombination> all = toastShortcuts();
    all.push_back(onboardingShortcut);
    m_blocked = m_grabber.grab(all);
    m_grabber.ungrabAll();
    for (const KeyCombination &combination : m_blocked)
        qCInfo(lcShortcuts).noquote() << "installEventTap: " + shortcutText(combination) + " is held by another program";
    m_installed = true;
    applyGrabs();
    return true;
}

void GlobalShortcuts::update(const ShortcutContext &context)
{
    if (context == m_context)
        return;
    m_context = context;
    if (m_installed)
        applyGrabs();
}

QStringList GlobalShortcuts::blockedShortcuts() const
{
    QStringList texts;
    for (const KeyCombination &combination : m_blocked)
        texts << shortcutText(combination);
    return texts;
}

void GlobalShortcuts::applyGrabs()
{
    const std::vector<KeyCombination> wanted = combinationsToGrab(m_context);
    if (wanted == m_grabbed)
        return;
    if (wanted.empty()) {
        m_grabber.ungrabAll();
        m_grabbed.clear();
        return;
    }
    // Another program may have taken a combination since the last time (a hotkey daemon
    // started after Dowsel): what fails now is reported like what failed at start.
    const std::vector<KeyCombination> failed = m_grabber.grab(wanted);
    m_grabbed.clear();
    bool blockedChanged = false;
    for (const KeyCombination &combination : wanted) {
        const bool isBlocked = contains(failed, combination);
        if (!isBlocked)
            m_grabbed.push_back(combination);
        if (isBlocked == contains(m_blocked, combination))
            continue;
        blockedChanged = true;
        if (isBlocked) {
            m_blocked.push_back(combination);
            qCInfo(lcShortcuts).noquote() << "grab: " + shortcutText(combination) + " is held by another program";
        } else {
            std::erase(m_blocked, combination);
            qCInfo(lcShortcuts).noquote() << "grab: " + shortcutText(combination) + " is free again";
        }
    }
    if (blockedChanged && onBlockedChanged)
        onBlockedChanged();
}

void GlobalShortcuts::releaseKeyboard()
{
    if (!m_installed)
        return;
    m_grabber.releaseKeyboard();
    m_grabbed.clear();
}

void GlobalShortcuts::handlePress(KeyCombination combination, const QString &activationToken)
{
    const std::optional<ShortcutAction> action = shortcutAction(combination, m_context);
    if (!action || !onAction)
        return;
    qCDebug(lcShortcuts).noquote() << "keyDown: " + shortcutText(combination);
    m_main.post([action = *action, activationToken, callback = onAction] { callback(action, activationToken); });
}

std::optional<CommandRefusal> GlobalShortcuts::runCommand(ShortcutAction action, const QString &activationToken)
{
    if (const auto refusal = commandRefusal(m_context))
        return refusal;
    if (onAction)
        m_main.post([action, activationToken, callback = onAction] { callback(action, activationToken); });
    return std::nullopt;
}

void GlobalShortcuts::handleAlt(bool isDown)
{
    if (m_context.isOnboardingActive || !m_context.isToastShown || !onOptionHeldChanged)
        return;
    m_main.post([isDown, callback = onOptionHeldChanged] { callback(isDown); });
}

} // namespace dowsel
