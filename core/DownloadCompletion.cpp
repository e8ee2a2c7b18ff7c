#include "core/DownloadCompletion.h"

#include "core/Logging.h"

namespace dowsel::completion {

namespace {

QByteArray extensionOf(const QByteArray &name)
{
    const qsizetype dot = name.lastIndexOf('.');
    return dot > 0 ? name.mid(dot + 1).toLower() : QByteArray();
}

} // namespace

bool isCompanionName(const QByteArray &name)
{
    const QByteArray lower = name.toLower();
    return lower.endsWith(".part") || lower.endsWith(".aria2");
}

std::optional<QByteArray> pendingCompanion(const QByteArray &path, const FileStatus &status)
{
    if (!status.isRegularFile)
        return std::nullopt;
    const QByteArray aria2Control = path + ".aria2";
    if (statPath(aria2Control))
        return aria2Control;
    if (status.size != 0)
        return std::nullopt;
    // Firefox's placeholder: its ".part" has a random stem but keeps the extension.
    const QByteArray name = fileNameOf(path);
    const QByteArray folder = path.left(path.size() - name.size());
    const QByteArray extension = extensionOf(name);
    const auto names = listDirectory(folder.isEmpty() ? QByteArray(".") : folder);
    if (!names)
        return std::nullopt;
    for (const QByteArray &candidate : *names) {
        if (!candidate.toLower().endsWith(".part") || candidate.size() <= 5)
            continue;
        if (extensionOf(candidate.left(candidate.size() - 5)) == extension)
            return folder + candidate;
    }
    return std::nullopt;
}

} // namespace dowsel::completion

namespace dowsel {

PendingOffers::PendingOffers(Scheduler &scheduler, Executor &executor, Complete complete)
    : m_scheduler(scheduler), m_executor(executor), m_complete(std::move(complete))
{
}

PendingOffers::~PendingOffers()
{
    for (const Offer &offer : std::as_const(m_offers))
        m_scheduler.cancel(offer.quiet);
}

void PendingOffers::add(RecordId id, const FileIdentity &identity, const QByteArray &path, FSEventFlags flags)
{
    if (id == 0)
        return; // a failed insert has no record to show
    drop(path);
    Offer offer;
    offer.id = id;
    offer.identity = identity;
    // A file moved into place was finished where it was written (Chromium's .crdownload,
    // rsync's hidden temporary, Firefox's .part): it is offered at once.
    const bool arrivedWhole = flags.contains(FSEventFlags::renamed) && !flags.contains(FSEventFlags::created);
    offer.closed = arrivedWhole || flags.contains(FSEventFlags::closedAfterWrite);
    if (arrivedWhole) {
        if (const auto status = statPath(path))
            offer.seen = *status;
    }
    m_offers.insert(path, offer);
    if (arrivedWhole)
        check(path);
    else
        startQuietPeriod(path);
}

void PendingOffers::noteActivity(const QByteArray &path, FSEventFlags flags)
{
    const auto offer = m_offers.find(path);
    if (offer == m_offers.end())
        return;
    if (flags.contains(FSEventFlags::modified))
        offer->closed = flags.contains(FSEventFlags::closedAfterWrite);
    startQuietPeriod(path);
}

void PendingOffers::replace(const QByteArray &path, const FileIdentity &old, const FileIdentity &replacement,
                            FSEventFlags flags)
{
    const auto offer = m_offers.constFind(path);
    if (offer == m_offers.constEnd() || offer->identity != old)
        return;
    const RecordId id = offer->id;
    drop(path);
    add(id, replacement, path, flags);
}

void PendingOffers::rename(const QByteArray &from, const QByteArray &to)
{
    const auto offer = m_offers.constFind(from);
    if (from == to || offer == m_offers.constEnd())
        return;
    const Offer moved = *offer;
    m_offers.erase(offer);
    drop(to);
    m_offers.insert(to, moved);
}

void PendingOffers::drop(const QByteArray &path, std::optional<FileIdentity> identity)
{
    const auto offer = m_offers.constFind(path);
    if (offer == m_offers.constEnd() || (identity && offer->identity != *identity))
        return;
    m_scheduler.cancel(offer->quiet);
    m_offers.erase(offer);
}

void PendingOffers::companionsChanged()
{
    QList<QByteArray> held;
    for (auto offer = m_offers.cbegin(); offer != m_offers.cend(); ++offer) {
        if (offer->heldByCompanion)
            held.append(offer.key());
    }
    for (const QByteArray &path : held) {
        m_offers[path].heldByCompanion = false;
        startQuietPeriod(path);
    }
}

void PendingOffers::startQuietPeriod(const QByteArray &path)
{
    const auto offer = m_offers.find(path);
    if (offer == m_offers.end())
        return;
    m_scheduler.cancel(offer->quiet);
    if (const auto status = statPath(path))
        offer->seen = *status;
    // Without its writer's close, a file that no write touched for a long while is taken as
    // finished too: a writer may have closed it before the watch began.
    const Seconds wait = offer->closed ? completion::quietPeriod : stalledWriterWait;
    const std::uint64_t ticket = ++m_tickets;
    offer->ticket = ticket;
    offer->quiet = m_scheduler.scheduleAfter(wait, m_executor, m_lifetime.guard([this, path, ticket] {
        const auto current = m_offers.constFind(path);
        if (current != m_offers.constEnd() && current->ticket == ticket)
            check(path);
    }));
}

void PendingOffers::check(const QByteArray &path)
{
    const auto offer = m_offers.find(path);
    if (offer == m_offers.end())
        return;
    const auto status = statPath(path);
    if (!status || status->identity() != offer->identity)
        return; // gone or replaced: the removal or the replacement decides
    if (status->size != offer->seen.size || status->modifiedNs != offer->seen.modifiedNs) {
        startQuietPeriod(path); // written to since: wait again
        return;
    }
    if (const auto companion = completion::pendingCompanion(path, *status)) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  HELD: ") + displayText(fileNameOf(path))
                + QStringLiteral(" until ") + displayText(fileNameOf(*companion)) + QStringLiteral(" is gone");
        offer->heldByCompanion = true;
        return;
    }
    const RecordId id = offer->id;
    const FileIdentity identity = offer->identity;
    drop(path);
    m_complete(id, identity, path, *status);
}

} // namespace dowsel
