#include "onboarding/ActionDemo.h"

#include "core/Logging.h"
#include "onboarding/PracticeFile.h"
#include "platform/Executor.h"
#include "toast/ToastController.h"

#include <QFile>

namespace dowsel {

ActionDemo::ActionDemo(Services services) : m_services(std::move(services))
{
}

bool ActionDemo::isRunning() const
{
    return m_services.controller.isActionDemoActive();
}

bool ActionDemo::isCurrent(int generation) const
{
    return generation == m_generation && isRunning();
}

bool ActionDemo::start(bool isFirstRun, Seconds delay)
{
    if (isRunning())
        return false;
    const int generation = ++m_generation;
    m_isFirstRun = isFirstRun;
    m_inode = 0;
    m_contents = practiceFileContents().toUtf8();
    m_path = practiceFilePath(m_services.downloadsPath, QFile::encodeName(practiceFileName()), m_contents);
    qCDebug(lcOnboarding).noquote() << "action demo: starting with " + displayText(m_path);

    std::weak_ptr<int> alive = m_lifetime;
    m_services.controller.startActionDemoToast(m_path, isFirstRun, [this, alive] {
        if (!alive.expired() && onFirstRunConcluded)
            onFirstRunConcluded();
    });
    if (delay > 0) {
        m_services.scheduler.scheduleAfter(delay, m_services.mainExecutor, [this, alive, generation] {
            if (!alive.expired())
                placeFile(generation);
        });
    } else {
        placeFile(generation);
    }
    return true;
}

void ActionDemo::placeFile(int generation)
{
    if (!isCurrent(generation))
        return;
    // A practice file left from an earlier demo may still have an active record at this
    // path; without it gone, the new file would take the record over and get no toast.
    m_services.store.call(
        [path = m_path](TrackedFileStore &store) {
            if (const auto identity = store.activeIdentity(path))
                store.removeRecordFor(*identity);
            return 0;
        },
        m_services.mainExecutor,
        [this, alive = std::weak_ptr<int>(m_lifetime), generation](int) {
            if (!alive.expired())
                createFile(generation);
        });
}

void ActionDemo::createFile(int generation)
{
    if (!isCurrent(generation))
        return;
    const std::optional<std::uint64_t> inode = createPracticeFile(m_path, m_contents);
    if (!inode) {
        qCDebug(lcOnboarding).noquote() << "action demo: could not create practice file at " + displayText(m_path);
        abort(generation);
        return;
    }
    m_inode = *inode;
    m_services.controller.armActionDemoWatchdog(
        surfaceTimeout, [this, alive = std::weak_ptr<int>(m_lifetime), generation] {
            if (!alive.expired())
                abort(generation);
        });
}

void ActionDemo::abort(int generation)
{
    if (!isCurrent(generation))
        return;
    qCDebug(lcOnboarding).noquote() << "action demo: aborted";
    m_services.controller.abortActionDemo();
    if (m_inode != 0)
        removePracticeFile(m_path, m_inode, m_contents);
    m_inode = 0;
    if (onAborted)
        onAborted(m_isFirstRun);
}

} // namespace dowsel
