// The cost of telling whether a new download is a copy of a file already in Downloads, for a
// large download (1 GB unless --size-mb=N says otherwise), in a folder that also holds a few
// hundred unrelated files. Prints the bytes read, the time and the rate of each case, beside
// a plain sequential read of the same file (what the disk gives), each with the page cache
// dropped for the files first (cold) and again with them cached (warm). --dir=PATH puts the
// folder on another file system (default: the system's temporary folder).
#include "bench/BenchArgs.h"
#include "core/DuplicateFinder.h"
#include "core/PosixFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace dowsel;
using Steady = std::chrono::steady_clock;

namespace {

std::int64_t fileSize = std::int64_t(1024) << 20;

// Fills `path` with `size` pseudo-random bytes from `seed`; the same seed gives the same bytes.
bool writeContent(const QByteArray &path, std::int64_t size, std::uint64_t seed)
{
    const FileDescriptor file(::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.isValid())
        return false;
    std::vector<std::uint64_t> block(1 << 17); // 1 MiB
    std::uint64_t state = seed * 0x9E3779B97F4A7C15ull + 1;
    for (std::int64_t written = 0; written < size;) {
        for (auto &word : block) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            word = state;
        }
        const std::size_t count = std::size_t(std::min<std::int64_t>(size - written, std::int64_t(block.size() * 8)));
        if (!writeAll(file.get(), QByteArray::fromRawData(reinterpret_cast<const char *>(block.data()), qsizetype(count))))
            return false;
        written += std::int64_t(count);
    }
    ::fdatasync(file.get());
    return true;
}

// Asks the kernel to drop the file's cached pages (they are clean after fdatasync).
void dropCache(const QByteArray &path)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    if (file.isValid())
        ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
}

double seconds(Steady::time_point since)
{
    return std::chrono::duration<double>(Steady::now() - since).count();
}

std::int64_t plainRead(const QByteArray &path)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    std::vector<char> block(1 << 20);
    std::int64_t total = 0;
    for (ssize_t count; (count = ::read(file.get(), block.data(), block.size())) > 0;)
        total += count;
    return total;
}

void report(const char *what, bool cold, std::int64_t bytes, double elapsed, const std::string &answer)
{
    const double megabytes = double(bytes) / (1 << 20);
    std::printf("%-50s %-4s %11lld bytes read %7.3f s %6.0f MB/s  %s\n", what, cold ? "cold" : "warm",
                static_cast<long long>(bytes), elapsed, elapsed > 0 && bytes > 0 ? megabytes / elapsed : 0.0,
                answer.c_str());
}

std::string answerOf(const DuplicateFinder::Outcome &outcome)
{
    return outcome.original ? "same as " + outcome.original->toStdString() : "no copy";
}

} // namespace

int main(int argc, char **argv)
{
    std::string dirFlag, sizeFlag;
    bench::takeFlag(argc, argv, "--dir", &dirFlag);
    if (bench::takeFlag(argc, argv, "--size-mb", &sizeFlag))
        fileSize = std::int64_t(std::atoll(sizeFlag.c_str())) << 20;
    QTemporaryDir root(dirFlag.empty() ? QDir::tempPath() + QStringLiteral("/dowsel-dup-XXXXXX")
                                       : QString::fromStdString(dirFlag) + QStringLiteral("/dowsel-dup-XXXXXX"));
    if (!root.isValid() || fileSize <= 0) {
        std::fprintf(stderr, "bench_duplicates: cannot make a folder under %s\n", dirFlag.c_str());
        return 1;
    }
    const QByteArray folder = QFile::encodeName(root.path()) + "/Downloads";
    const auto at = [&](const char *name) { return joinPath(folder, name); };

    // Downloads arrive one after another: each waits in a staging folder beside Downloads and
    // is renamed in (as a browser does), then checked.
    const QByteArray staging = QFile::encodeName(root.path()) + "/staging";
    if (::mkdir(folder.constData(), 0755) != 0 || ::mkdir(staging.constData(), 0755) != 0) {
        std::fprintf(stderr, "bench_duplicates: cannot make %s\n", staging.constData());
        return 1;
    }
    const auto staged = [&](const char *name) { return joinPath(staging, name); };
    std::printf("writing the files (%lld MB each)...\n", static_cast<long long>(fileSize >> 20));
    for (int i = 0; i < 300; ++i) // unrelated downloads, none of the large size
        writeContent(joinPath(folder, "other-" + QByteArray::number(i) + ".bin"), 1000 + i * 4093, 1000 + i);
    struct Arrival {
        const char *name;
        std::int64_t size;
        std::uint64_t seed;
        const char *what;
    };
    const Arrival arrivals[] = {
        {"unique.iso", fileSize + 1, 7, "no other file of its size"},
        {"installer.iso", fileSize, 1, "the first of its size"},
        {"installer (1).iso", fileSize, 1, "a copy of a file never read before"},
        {"installer (2).iso", fileSize, 1, "a copy, the others' digests known"},
        {"other-build.iso", fileSize, 2, "same size, other content, digests known"},
        {"other-recut.iso", fileSize + 2, 3, "same size as one never read, other ends"},
    };
    for (const Arrival &arrival : arrivals) {
        if (!writeContent(staged(arrival.name), arrival.size, arrival.seed)) {
            std::fprintf(stderr, "bench_duplicates: could not write %s\n", arrival.name);
            return 1;
        }
    }
    // The last one's size matches a file that no check has read: put it there beforehand.
    if (!writeContent(at("old-recut.iso"), fileSize + 2, 4))
        return 1;

    for (const bool cold : {true, false}) {
        for (const Arrival &arrival : arrivals)
            ::rename(at(arrival.name).constData(), staged(arrival.name).constData()); // back out, if in
        const auto prepare = [&](const QByteArray &path) {
            for (const QByteArray &each : {path, at("installer.iso"), at("installer (1).iso"), at("old-recut.iso")}) {
                if (cold)
                    dropCache(each);
                else
                    plainRead(each); // into the page cache
            }
        };
        prepare(staged("installer (1).iso"));
        auto start = Steady::now();
        const std::int64_t read = plainRead(staged("installer (1).iso"));
        report("plain sequential read of the download (reference)", cold, read, seconds(start), "");

        DuplicateFinder finder(folder);
        for (const Arrival &arrival : arrivals) {
            ::rename(staged(arrival.name).constData(), at(arrival.name).constData());
            prepare(at(arrival.name));
            start = Steady::now();
            const auto outcome = finder.findOriginal(at(arrival.name));
            report(arrival.what, cold, outcome.bytesRead, seconds(start), answerOf(outcome));
        }
    }
    return 0;
}
