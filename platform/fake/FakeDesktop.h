#pragma once

#include "platform/Clipboard.h"
#include "platform/FocusTracker.h"
#include "platform/ProcessLauncher.h"
#include "platform/Workspace.h"

namespace dowsel {

class FakeWorkspace final : public Workspace {
public:
    void open(const QByteArray &path) override { opened.push_back(path); }
    void reveal(const std::vector<QByteArray> &paths) override { revealed.push_back(paths); }

    std::vector<QByteArray> opened;
    std::vector<std::vector<QByteArray>> revealed;
};

class FakeClipboard final : public Clipboard {
public:
    void setFiles(const std::vector<QByteArray> &paths) override { files = paths; }
    std::vector<QByteArray> files;
};

// Window 1 is Dowsel's own; every other window is foreign.
class FakeFocusTracker final : public FocusTracker {
public:
    static constexpr WindowHandle ownWindow = 1;

    std::optional<WindowHandle> activeForeignWindow() const override
    {
        return active == ownWindow ? std::nullopt : std::optional(active);
    }
    void activateSelf() override { active = ownWindow; }
    void activate(WindowHandle window) override { active = window; }

    WindowHandle active = 42;
};

class FakeProcessLauncher final : public ProcessLauncher {
public:
    std::optional<QString> startDetached(const QByteArray &program, const std::vector<QByteArray> &arguments) override
    {
        started.push_back({program, arguments});
        return std::nullopt;
    }
    struct Launch {
        QByteArray program;
        std::vector<QByteArray> arguments;
    };
    std::vector<Launch> started;
};

} // namespace dowsel
