#pragma once

#include "core/TrackedFileStore.h"
#include "platform/Time.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace dowsel {

class Executor;
class ToastController;

// The rehearsal on a real toast: drops the practice file into Downloads and lets the normal
// pipeline notice it. The toast controller runs the practice toast and its hint; this class
// writes the file, makes sure it counts as new, and gives up when no toast surfaces in time.
class ActionDemo {
public:
    struct Services {
        ToastController &controller;
        TrackedFileActor &store;
        Scheduler &scheduler;
        Executor &mainExecutor;
        QByteArray downloadsPath;
    };

    static constexpr Seconds surfaceTimeout = 3;

    explicit ActionDemo(Services services);
    ActionDemo(const ActionDemo &) = delete;
    ActionDemo &operator=(const ActionDemo &) = delete;

    // Starts a demo whose file is written after `delay` (the onboarding island's exit).
    // Does nothing and returns false while a demo runs.
    bool start(bool isFirstRun, Seconds delay);
    bool isRunning() const;
    // Where the current or last demo put its file.
    const QByteArray &practicePath() const { return m_path; }

    // A first run's demo ended with the user acting on the toast.
    std::function<void()> onFirstRunConcluded;
    // The file could not be written, or no toast surfaced in time; the demo is over.
    std::function<void(bool isFirstRun)> onAborted;

private:
    void placeFile(int generation);
    void createFile(int generation);
    void abort(int generation);
    bool isCurrent(int generation) const;

    Services m_services;
    QByteArray m_contents;
    QByteArray m_path;
    std::uint64_t m_inode = 0;
    bool m_isFirstRun = false;
    // Steps that wait (the island's exit, the store, the watchdog) belong to one start.
    int m_generation = 0;
    std::shared_ptr<int> m_lifetime = std::make_shared<int>(0);
};

} // namespace dowsel
