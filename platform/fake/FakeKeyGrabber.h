#pragma once

#include "platform/KeyGrabber.h"

#include <algorithm>

namespace dowsel {

// A key hook for tests: remembers what is grabbed and lets the test press keys. Combinations
// put in `heldElsewhere` fail to grab, as when another program owns them.
class FakeKeyGrabber final : public KeyGrabber {
public:
    bool isAvailable() const override { return available; }

    std::vector<KeyCombination> grab(const std::vector<KeyCombination> &combinations) override
    {
        ++grabCalls;
        grabbed.clear();
        std::vector<KeyCombination> failed;
        for (const KeyCombination &combination : combinations) {
            if (isHeldElsewhere(combination))
                failed.push_back(combination);
            else
                grabbed.push_back(combination);
        }
        return failed;
    }

    void ungrabAll() override { grabbed.clear(); }
    void releaseKeyboard() override
    {
        ++keyboardReleases;
        grabbed.clear();
    }

    bool isGrabbed(KeyCombination combination) const
    {
        return std::find(grabbed.begin(), grabbed.end(), combination) != grabbed.end();
    }

    // A key press as the X server would route it: only grabbed combinations reach Dowsel,
    // with the activation token a desktop may hand over with it. Returns true when Dowsel
    // received (and so swallowed) it.
    bool press(KeyCombination combination, const QString &activationToken = {})
    {
        if (!isGrabbed(combination))
            return false;
        if (onPressed)
            onPressed(combination, activationToken);
        return true;
    }

    void setAlt(bool isDown)
    {
        if (onAltChanged)
            onAltChanged(isDown);
    }

    bool available = true;
    std::vector<KeyCombination> heldElsewhere;
    std::vector<KeyCombination> grabbed;
    int grabCalls = 0;
    int keyboardReleases = 0;

private:
    bool isHeldElsewhere(KeyCombination combination) const
    {
        return std::find(heldElsewhere.begin(), heldElsewhere.end(), combination) != heldElsewhere.end();
    }
};

} // namespace dowsel
