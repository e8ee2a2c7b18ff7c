#pragma once

#include "toast/ToastHost.h"

#include <map>
#include <set>

namespace dowsel {

class FakeToastPanel final : public ToastPanel {
public:
    bool isOnScreen() const override { return onScreen; }
    void orderIn(bool fade) override
    {
        onScreen = true;
        fadedIn = fade;
    }
    void fadeOut(Seconds) override { fadingOut = true; }
    void orderOut() override
    {
        onScreen = false;
        fadingOut = false;
    }
    void render(const ToastViewInput &input) override
    {
        lastInput = input;
        ++renderCount;
    }

    bool onScreen = false;
    bool fadedIn = false;
    bool fadingOut = false;
    ToastViewInput lastInput;
    int renderCount = 0;
};

// Records what the controller asks for; tests answer the share menu and the folder chooser.
class FakeToastHost final : public ToastHost {
public:
    std::shared_ptr<ToastPanel> createToastPanel() override
    {
        panels.push_back(std::make_shared<FakeToastPanel>());
        return panels.back();
    }
    std::optional<ToastScreen> placeToastPanel(ToastPanel &) override { return screen; }
    void openSurface(ToastSurface surface) override { openSurfaces.insert(surface); }
    void closeSurface(ToastSurface surface) override { openSurfaces.erase(surface); }
    bool placeShareAnchor() override { return screen.has_value(); }
    void showSharePicker(const std::vector<ShareTarget> &targets, ShareChoice onChoose) override
    {
        shareTargets = targets;
        shareChoice = std::move(onChoose);
    }
    void closeSharePicker() override { shareChoice = nullptr; }
    void chooseFolder(FolderChoice onChoose) override { folderChoice = std::move(onChoose); }
    void showNotice(const QString &title, const QString &text) override { notices.push_back(title + ": " + text); }
    void showHint(HintPhase phase) override { hint = phase; }
    void hideHint() override { hint.reset(); }

    FakeToastPanel *currentPanel() const { return panels.empty() ? nullptr : panels.back().get(); }

    std::optional<ToastScreen> screen = ToastScreen{24, false};
    std::vector<std::shared_ptr<FakeToastPanel>> panels;
    std::set<ToastSurface> openSurfaces;
    std::vector<ShareTarget> shareTargets;
    ShareChoice shareChoice;
    FolderChoice folderChoice;
    std::optional<HintPhase> hint;
    std::vector<QString> notices;
};

} // namespace dowsel
