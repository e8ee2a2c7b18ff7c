#include "ui/PopoverWindow.h"

#include "app/PermissionsManager.h"
#include "core/QtExecutor.h"
#include "core/Tags.h"
#include "platform/Preferences.h"
#include "platform/Time.h"
#include "ui/BacklogPage.h"
#include "ui/FileManager.h"
#include "ui/PopoverItemDelegate.h"
#include "ui/PopoverListModel.h"
#include "ui/PopoverStyle.h"
#include "ui/SettingsPage.h"
#include "ui/model/PopoverLists.h"
#include "ui/model/PopoverPlacement.h"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace dowsel {

namespace {

// Replies from the store's worker come back through the application object, which outlives
// every window; each reply checks that its window still exists.
Executor &mainThread()
{
    static QtExecutor executor(QCoreApplication::instance());
    return executor;
}

QToolButton *headerButton(const QString &text, const QString &help, const QString &name, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setText(text);
    button->setToolTip(help);
    button->setAutoRaise(true);
    button->setFixedSize(28, 28);
    QFont font = button->font();
    font.setPointSizeF(font.pointSizeF() * 1.3);
    button->setFont(font);
    return button;
}

QWidget *header(QWidget *parent)
{
    auto *bar = new QWidget(parent);
    bar->setFixedHeight(44);
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(16, 8, 10, 8);
    layout->setSpacing(6);
    return bar;
}

} // namespace

PopoverWindow::PopoverWindow(PopoverServices services, QWidget *parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint),
      m_services(std::move(services)),
      m_model(new PopoverListModel(this)),
      m_delegate(new PopoverItemDelegate(m_services.prefs, m_services.thumbnails, this)),
      m_ticker(new QTimer(this))
{
    if (!m_services.reveal)
        m_services.reveal = revealInFileManager;
    setObjectName(QStringLiteral("popover"));
    setFixedSize(fixedSize);
    setAttribute(Qt::WA_DeleteOnClose, false);

    m_pages = new QStackedWidget(this);
    m_pages->addWidget(buildFilesPage());
    m_pages->addWidget(buildSettingsPage());
    m_pages->addWidget(buildBacklogPage());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);

    m_ticker->setInterval(countdownTickMilliseconds);
    connect(m_ticker, &QTimer::timeout, this, &PopoverWindow::tick);

    connect(m_delegate, &PopoverItemDelegate::keepAllClicked, this, &PopoverWindow::keepAll);
    connect(m_delegate, &PopoverItemDelegate::ignoredHeaderClicked, this,
            [this] { m_model->setIgnoredExpanded(!m_model->isIgnoredExpanded()); });
    connect(m_delegate, &PopoverItemDelegate::revealClicked, this, &PopoverWindow::revealRow);
    connect(m_delegate, &PopoverItemDelegate::menuClicked, this, &PopoverWindow::showRowMenu);
    connect(m_delegate, &PopoverItemDelegate::markTemporaryClicked, this, [this](int row) {
        if (const TrackedFile *file = m_model->fileAt(row))
            markTemporary(file->id);
    });
    connect(m_delegate, &PopoverItemDelegate::putBackClicked, this, &PopoverWindow::putBack);
    connect(m_delegate, &PopoverItemDelegate::backlogAgeClicked, this, &PopoverWindow::chooseBacklogAge);
    connect(m_delegate, &PopoverItemDelegate::backlogReviewClicked, this, [this] { showPage(Page::backlog); });
    connect(m_delegate, &PopoverItemDelegate::backlogMakeTemporaryClicked, this, [this] {
        std::vector<RecordId> ids;
        for (const BacklogFile &file : m_model->lists().backlog)
            ids.push_back(file.record.id);
        makeTemporary(ids);
    });
    updateEmptyState();
}

PopoverWindow::~PopoverWindow() = default;

QWidget *PopoverWindow::buildFilesPage()
{
    auto *page = new QWidget(this);
    auto *bar = header(page);
    auto *title = new QLabel(QStringLiteral("Dowsel"), bar);
    title->setFont(popoverstyle::headlineFont(font()));
    auto *gear = headerButton(QStringLiteral("⚙"), tr("Settings"), QStringLiteral("settingsButton"), bar);
    connect(gear, &QToolButton::clicked, this, [this] { showPage(Page::settings); });
    bar->layout()->addWidget(title);
    static_cast<QHBoxLayout *>(bar->layout())->addStretch(1);
    bar->layout()->addWidget(gear);

    m_list = new QListView(page);
    m_list->setObjectName(QStringLiteral("fileList"));
    m_list->setModel(m_model);
    m_list->setItemDelegate(m_delegate);
    connect(m_delegate, &PopoverItemDelegate::thumbnailArrived, m_list->viewport(), qOverload<>(&QWidget::update));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setLayoutMode(QListView::Batched);
    m_list->setMouseTracking(true);
    m_list->viewport()->setAttribute(Qt::WA_Hover);
    m_list->viewport()->setAutoFillBackground(false);

    m_emptyState = new QWidget(page);
    m_emptyState->setObjectName(QStringLiteral("emptyState"));
    auto *symbol = new QLabel(m_emptyState);
    symbol->setPixmap(popoverstyle::checkCircle(32, popoverstyle::secondaryText(palette()), false, devicePixelRatioF()));
    symbol->setAlignment(Qt::AlignCenter);
    auto *message = new QLabel(tr("Downloads folder is clean"), m_emptyState);
    message->setObjectName(QStringLiteral("emptyMessage"));
    message->setAlignment(Qt::AlignCenter);
    QPalette secondary = message->palette();
    secondary.setColor(QPalette::WindowText, popoverstyle::secondaryText(palette()));
    message->setPalette(secondary);
    auto *emptyLayout = new QVBoxLayout(m_emptyState);
    emptyLayout->addStretch(1);
    emptyLayout->addWidget(symbol);
    emptyLayout->addWidget(message);
    emptyLayout->addStretch(1);

    m_filesContent = new QStackedWidget(page);
    m_filesContent->addWidget(m_emptyState);
    m_filesContent->addWidget(m_list);

    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    // Says when a change asked for here was not made; gone at the next one that is.
    m_failureLine = new QLabel(page);
    m_failureLine->setObjectName(QStringLiteral("failureLine"));
    m_failureLine->setWordWrap(true);
    m_failureLine->setContentsMargins(16, 6, 16, 8);
    m_failureLine->setStyleSheet(QStringLiteral("color: #d93025;"));
    m_failureLine->hide();
    layout->addWidget(bar);
    layout->addWidget(m_filesContent, 1);
    layout->addWidget(m_failureLine);
    return page;
}

QWidget *PopoverWindow::buildSettingsPage()
{
    auto *page = new QWidget(this);
    auto *bar = header(page);
    auto *back = headerButton(QStringLiteral("‹"), tr("Back"), QStringLiteral("backButton"), bar);
    connect(back, &QToolButton::clicked, this, [this] { showPage(Page::files); });
    auto *title = new QLabel(tr("Settings"), bar);
    title->setFont(popoverstyle::headlineFont(font()));
    bar->layout()->addWidget(back);
    bar->layout()->addWidget(title);
    static_cast<QHBoxLayout *>(bar->layout())->addStretch(1);

    m_settings = new SettingsPage(m_services.prefs, m_services.permissions, m_services.blockedShortcuts,
                                  m_services.loginItem);
    connect(m_settings, &SettingsPage::replayOnboardingRequested, this, &PopoverWindow::replayOnboardingRequested);
    connect(m_settings, &SettingsPage::practiceFileRequested, this, &PopoverWindow::practiceFileRequested);
    auto *scroll = new QScrollArea(page);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(m_settings);

    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(scroll, 1);
    return page;
}

QWidget *PopoverWindow::buildBacklogPage()
{
    auto *page = new QWidget(this);
    auto *bar = header(page);
    auto *back = headerButton(QStringLiteral("‹"), tr("Back"), QStringLiteral("backlogBackButton"), bar);
    connect(back, &QToolButton::clicked, this, [this] { showPage(Page::files); });
    auto *title = new QLabel(tr("Old files"), bar);
    title->setFont(popoverstyle::headlineFont(font()));
    bar->layout()->addWidget(back);
    bar->layout()->addWidget(title);
    static_cast<QHBoxLayout *>(bar->layout())->addStretch(1);

    m_backlog = new BacklogPage(page);
    connect(m_backlog, &BacklogPage::makeTemporaryRequested, this, [this](const std::vector<RecordId> &ids) {
        makeTemporary(ids);
        showPage(Page::files);
    });
    connect(m_backlog, &BacklogPage::trashRequested, this, [this](const std::vector<RecordId> &ids) {
        trashAll(ids);
        showPage(Page::files);
    });
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(m_backlog, 1);
    return page;
}

void PopoverWindow::showNear(const QRect &trayIcon, Page page)
{
    const QRect anchor = trayIcon.isValid() ? trayIcon : QRect(QCursor::pos(), QSize());
    QScreen *screen = QGuiApplication::screenAt(anchor.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen)
        move(popoverPosition(anchor, fixedSize, screen->availableGeometry()));
    m_model->setIgnoredExpanded(false);
    showPage(page);
    show();
    raise();
    activateWindow();
}

PopoverWindow::Page PopoverWindow::currentPage() const
{
    return Page(m_pages->currentIndex());
}

void PopoverWindow::showPage(Page page)
{
    if (page == Page::settings)
        m_settings->reload(); // also refreshes the permissions
    m_pages->setCurrentIndex(int(page));
}

void PopoverWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    tick();
    m_ticker->start();
    // Always read afresh: files may have vanished from disk without a change in the store.
    startFetch();
}

void PopoverWindow::hideEvent(QHideEvent *event)
{
    m_ticker->stop();
    QWidget::hideEvent(event);
}

void PopoverWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        hide();
    else
        QWidget::keyPressEvent(event);
}

void PopoverWindow::refresh()
{
    if (m_refreshQueued.exchange(true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_refreshQueued = false;
            if (isVisible())
                startFetch();
        },
        Qt::QueuedConnection);
}

void PopoverWindow::startFetch()
{
    if (m_fetchInFlight) {
        m_fetchAgain = true;
        return;
    }
    m_fetchInFlight = true;
    const int ageDays = backlogAgeDays(m_services.prefs);
    m_model->setBacklogAgeDays(ageDays);
    const PopoverFetch fetch{m_services.clock.now(), ageDays * 86400.0};
    m_services.store.call(
        [folder = m_services.downloadsFolder, fetch](TrackedFileStore &store) {
            return fetchPopoverLists(store, folder, fetch);
        },
        mainThread(), [self = QPointer<PopoverWindow>(this)](PopoverLists lists) {
            if (self)
                self->applyLists(std::move(lists));
        });
}

void PopoverWindow::applyLists(PopoverLists lists)
{
    m_fetchInFlight = false;
    if (m_services.filesInUse)
        lists.inUse = m_services.filesInUse();
    m_backlog->setFiles(lists.backlog);
    m_model->setLists(std::move(lists), m_services.clock.now());
    updateEmptyState();
    Q_EMIT listsUpdated();
    if (m_fetchAgain) {
        m_fetchAgain = false;
        startFetch();
    }
}

void PopoverWindow::updateEmptyState()
{
    m_filesContent->setCurrentWidget(m_model->isEmpty() ? m_emptyState : static_cast<QWidget *>(m_list));
}

void PopoverWindow::tick()
{
    m_model->setNow(m_services.clock.now());
}

void PopoverWindow::keep(RecordId id)
{
    reportOutcome([id](TrackedFileStore &store) {
        return store.markDismissed(id) ? QString() : notSavedText(tr("It was not kept."));
    });
}

void PopoverWindow::deleteNow(RecordId id)
{
    reportOutcome([id](TrackedFileStore &store) {
        const auto file = store.record(id);
        const auto refused = store.deleteNow(id);
        if (!refused)
            return QString();
        return tr("%1 was not moved to the Trash: %2").arg(displayText(file ? file->fileName : QByteArray()), *refused);
    });
}

void PopoverWindow::markTemporary(RecordId id)
{
    reportOutcome([id, schedule = m_services.scheduleExpiry](TrackedFileStore &store) {
        const auto expiresAt = store.markTemporary(id);
        if (!expiresAt)
            return notSavedText(tr("It was not made temporary."));
        if (schedule)
            schedule(id, *expiresAt);
        return QString();
    });
}

void PopoverWindow::keepAll()
{
    reportOutcome([ids = m_model->temporaryIds()](TrackedFileStore &store) {
        const int unsaved = dowsel::keepAll(store, ids);
        return unsaved == 0 ? QString() : notSavedText(tr("%n file(s) were not kept.", nullptr, unsaved));
    });
}

void PopoverWindow::putBack(int row)
{
    const auto *trashed = m_model->trashedAt(row);
    if (!trashed)
        return;
    reportOutcome([id = trashed->id, name = fileNameOf(trashed->originalPath)](TrackedFileStore &store) {
        const auto outcome = store.putBack(id);
        if (!outcome.error.isEmpty())
            return tr("%1 was not put back: %2").arg(displayText(name), outcome.error);
        QStringList notes;
        if (outcome.folderRecreated)
            notes << tr("Its folder %1 was made again.").arg(displayText(parentPath(outcome.path)));
        if (outcome.otherName)
            notes << tr("%1 was taken, so it is back as %2.").arg(displayText(name), displayText(fileNameOf(outcome.path)));
        return notes.join(QLatin1Char(' '));
    });
}

void PopoverWindow::makeTemporary(const std::vector<RecordId> &ids)
{
    reportOutcome([ids, schedule = m_services.scheduleExpiry](TrackedFileStore &store) {
        const int unsaved = dowsel::makeTemporary(store, ids, schedule);
        return unsaved == 0 ? QString() : notSavedText(tr("%n file(s) were not made temporary.", nullptr, unsaved));
    });
}

void PopoverWindow::trashAll(const std::vector<RecordId> &ids)
{
    reportOutcome([ids](TrackedFileStore &store) {
        QStringList refused;
        for (RecordId id : ids) {
            const auto file = store.record(id);
            if (const auto error = store.deleteNow(id))
                refused << displayText(file ? file->fileName : QByteArray()) + QStringLiteral(": ") + *error;
        }
        if (refused.isEmpty())
            return QString();
        return tr("%n file(s) were not moved to the Trash:", nullptr, int(refused.size())) + QLatin1Char(' ')
            + refused.join(QStringLiteral("; "));
    });
}

void PopoverWindow::chooseBacklogAge(const QPoint &globalPosition)
{
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("backlogAgeMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const int current = backlogAgeDays(m_services.prefs);
    for (const int days : {7, 14, 30, 90, 180, 365}) {
        QAction *action = menu->addAction(tr("Older than %1 days").arg(days), this, [this, days] {
            m_services.prefs.setValue(backlogAgeKey, days);
            startFetch();
        });
        action->setCheckable(true);
        action->setChecked(days == current);
    }
    menu->popup(globalPosition);
}

QString PopoverWindow::notSavedText(const QString &what)
{
    return what + QLatin1Char(' ')
        + tr("Dowsel's list of files could not be written: another program may hold it, or the disk is full.");
}

void PopoverWindow::reportOutcome(std::function<QString(TrackedFileStore &)> change)
{
    m_services.store.call(std::move(change), mainThread(), [self = QPointer<PopoverWindow>(this)](const QString &failure) {
        if (!self)
            return;
        self->m_failureLine->setText(failure);
        self->m_failureLine->setVisible(!failure.isEmpty());
    });
}

void PopoverWindow::revealRow(int row)
{
    if (const TrackedFile *file = m_model->fileAt(row))
        m_services.reveal(file->filePath);
}

void PopoverWindow::showRowMenu(int row, const QPoint &globalPosition)
{
    const TrackedFile *file = m_model->fileAt(row);
    if (!file)
        return;
    const RecordId id = file->id;
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("rowMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Keep"), this, [this, id] { keep(id); });
    menu->addAction(tr("Delete"), this, [this, id] { deleteNow(id); });
    menu->popup(globalPosition);
}

} // namespace dowsel
