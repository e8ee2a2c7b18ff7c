// Expiry timers at scale: 100,000 temporary files, one timer each, on the shared timerfd
// scheduler. Prints the time to schedule them, the memory they take, and how late timers
// fire, on virtual time (ordering only) and on the real boot-time clock.
#include "core/WorkerThread.h"
#include "platform/fake/Executors.h"
#include "platform/fake/VirtualClock.h"
#include "platform/linux/SystemClock.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <random>
#include <string>
#include <vector>

using namespace dowsel;

namespace {

constexpr int timerCount = 100'000;

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return -1;
}

std::vector<Seconds> spreadDelays(Seconds from, Seconds to)
{
    std::mt19937 random(42);
    std::uniform_real_distribution<Seconds> delay(from, to);
    std::vector<Seconds> delays(timerCount);
    std::generate(delays.begin(), delays.end(), [&] { return delay(random); });
    return delays;
}

// Median and worst of the lateness samples, in milliseconds.
void reportLateness(benchmark::State &state, std::vector<double> latenessSeconds)
{
    std::sort(latenessSeconds.begin(), latenessSeconds.end());
    state.counters["late_median_ms"] = latenessSeconds[latenessSeconds.size() / 2] * 1e3;
    state.counters["late_p99_ms"] = latenessSeconds[latenessSeconds.size() * 99 / 100] * 1e3;
    state.counters["late_worst_ms"] = latenessSeconds.back() * 1e3;
}

class NullExecutor final : public Executor {
public:
    void post(std::function<void()>) override {}
};

void BM_Schedule100kExpiries(benchmark::State &state)
{
    const std::vector<Seconds> delays = spreadDelays(3600, 30 * 86400); // none falls due
    NullExecutor executor;
    long addedKilobytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto scheduler = std::make_unique<BootTimeScheduler>();
        const long before = residentKilobytes();
        state.ResumeTiming();
        for (Seconds delay : delays)
            scheduler->scheduleAfter(delay, executor, [] {});
        state.PauseTiming();
        // The first round shows the true cost; later rounds reuse pages malloc kept.
        addedKilobytes = std::max(addedKilobytes, residentKilobytes() - before);
        scheduler.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * timerCount);
    state.counters["rss_added_kB"] = double(addedKilobytes);
    state.counters["bytes_per_timer"] = double(addedKilobytes) * 1024 / timerCount;
}
BENCHMARK(BM_Schedule100kExpiries)->Unit(benchmark::kMillisecond)->Iterations(3);

// Re-marking a file: the old timer is cancelled and a new one armed.
void BM_Reschedule100kExpiries(benchmark::State &state)
{
    const std::vector<Seconds> delays = spreadDelays(3600, 30 * 86400);
    NullExecutor executor;
    BootTimeScheduler scheduler;
    std::vector<Scheduler::TimerId> ids;
    for (Seconds delay : delays)
        ids.push_back(scheduler.scheduleAfter(delay, executor, [] {}));
    for (auto _ : state) {
        for (std::size_t i = 0; i < ids.size(); ++i) {
            scheduler.cancel(ids[i]);
            ids[i] = scheduler.scheduleAfter(delays[i] + 60, executor, [] {});
        }
    }
    state.SetItemsProcessed(state.iterations() * timerCount);
    state.counters["pending"] = double(scheduler.pendingCount());
}
BENCHMARK(BM_Reschedule100kExpiries)->Unit(benchmark::kMillisecond)->Iterations(3);

// On virtual time every timer fires exactly at its deadline: this checks the ordering and
// measures the cost of firing 100,000 timers.
void BM_FireOnVirtualClock(benchmark::State &state)
{
    const std::vector<Seconds> delays = spreadDelays(0, 86400);
    std::vector<double> lateness;
    for (auto _ : state) {
        state.PauseTiming();
        VirtualClock clock;
        InlineExecutor executor;
        lateness.clear();
        lateness.reserve(timerCount);
        const Seconds start = clock.continuousNow();
        for (Seconds delay : delays)
            clock.scheduleAfter(delay, executor,
                                [&, due = start + delay] { lateness.push_back(clock.continuousNow() - due); });
        state.ResumeTiming();
        clock.advance(86400);
    }
    state.SetItemsProcessed(state.iterations() * timerCount);
    reportLateness(state, lateness);
}
BENCHMARK(BM_FireOnVirtualClock)->Unit(benchmark::kMillisecond)->Iterations(3);

// The real clock: 100,000 timers due within two seconds, delivered to a worker thread as
// the clean-up service's timers are.
void BM_FireOnBootTimeClock(benchmark::State &state)
{
    const std::vector<Seconds> delays = spreadDelays(0.05, 2.0);
    SystemClock clock;
    std::vector<double> lateness;
    for (auto _ : state) {
        BootTimeScheduler scheduler;
        WorkerThread worker("bench-timers");
        std::mutex mutex;
        std::condition_variable allFired;
        lateness.clear();
        lateness.reserve(timerCount);
        for (Seconds delay : delays) {
            const Seconds due = clock.continuousNow() + delay;
            scheduler.scheduleAfter(delay, worker, [&, due] {
                const double late = clock.continuousNow() - due;
                std::lock_guard lock(mutex);
                lateness.push_back(late);
                if (lateness.size() == std::size_t(timerCount))
                    allFired.notify_one();
            });
        }
        std::unique_lock lock(mutex);
        allFired.wait(lock, [&] { return lateness.size() == std::size_t(timerCount); });
    }
    reportLateness(state, lateness);
}
BENCHMARK(BM_FireOnBootTimeClock)->Unit(benchmark::kMillisecond)->Iterations(2)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
