#include "toast/gui/QtToastHost.h"

#include "core/ByteCount.h"
#include "input/gui/MoreMenuView.h"
#include "input/gui/TimeInputView.h"
#include "move/gui/MoveInputView.h"
#include "toast/PanelGeometry.h"
#include "toast/ToastController.h"
#include "toast/gui/PanelPlacement.h"
#include "toast/gui/QtToastPanel.h"
#include "platform/linux/x11/X11Desktop.h"
#include "toast/gui/SurfaceStyle.h"

#include <QCursor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QVBoxLayout>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace dowsel {

namespace {

constexpr QSize inputPanelSize(480, 52);
constexpr QSize moreMenuPanelSize(480, 96);
constexpr QSize hintPanelSize(500, 160);

// The centred text of the hint and notice panels under the island.
QLabel *panelLabel(const QString &text)
{
    auto *label = new QLabel(text);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignCenter);
    label->setMargin(18);
    label->setFont(surfacestyle::font(13, QFont::Medium));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, surfacestyle::primary());
    label->setPalette(palette);
    return label;
}

QWidget *defaultHintContent(HintPhase phase)
{
    QString text;
    switch (phase) {
    case HintPhase::running:
        text = QtToastHost::tr("Try a shortcut on the toast above, or let it run out.");
        break;
    case HintPhase::countdownEnded:
        text = QtToastHost::tr("Time's up. The toast stays until you act on it.");
        break;
    case HintPhase::concluded:
        text = QtToastHost::tr("Done. The practice file is where you left it.");
        break;
    }
    return panelLabel(text);
}

// The share menu sits under the dark island and beside the dark inputs: it is dark too.
void styleLikeThePanels(QMenu &menu)
{
    const auto rgba = [](const QColor &color) {
        return QStringLiteral("rgba(%1, %2, %3, %4)")
            .arg(color.red())
            .arg(color.green())
            .arg(color.blue())
            .arg(color.alphaF());
    };
    const bool rounded = x11::hasCompositor();
    if (rounded)
        menu.setAttribute(Qt::WA_TranslucentBackground);
    menu.setFont(surfacestyle::font(13, QFont::Normal));
    menu.setStyleSheet(QStringLiteral("QMenu { background: %1; color: %2; border: 1px solid %3; border-radius: %4px;"
                                      " padding: 6px; }"
                                      " QMenu::item { padding: 7px 22px 7px 10px; border-radius: 6px; }"
                                      " QMenu::item:selected { background: %5; }"
                                      " QMenu::item:disabled { color: %6; }")
                           .arg(rgba(surfacestyle::panelBackground()), rgba(surfacestyle::primary()),
                                rgba(surfacestyle::primary(0.12)), QString::number(rounded ? 12 : 0),
                                rgba(surfacestyle::primary(0.14)), rgba(surfacestyle::secondary())));
}

} // namespace

QtToastHost::QtToastHost(const Clock &clock, ThumbnailCache &thumbnails, QObject *parent)
    : QObject(parent), m_clock(clock), m_thumbnails(thumbnails), m_hintContent(defaultHintContent)
{
}

QtToastHost::~QtToastHost()
{
    for (auto &[surface, panel] : m_surfaces)
        delete panel;
    for (const QPointer<SurfacePanel> &panel : m_closing)
        delete panel;
    delete m_hint;
    delete m_shareMenu;
    delete m_folderDialog;
    delete m_notice;
    delete m_progress;
}

void QtToastHost::bind(ToastController &controller)
{
    m_controller = &controller;
}

void QtToastHost::setHintContent(HintContent content)
{
    m_hintContent = content ? std::move(content) : HintContent(defaultHintContent);
}

template <class Call>
void QtToastHost::queue(Call call)
{
    if (!m_controller)
        return;
    QMetaObject::invokeMethod(
        m_controller.data(),
        [controller = m_controller, call = std::move(call)] {
            if (controller)
                call(*controller);
        },
        Qt::QueuedConnection);
}

// MARK: The toast panel

std::shared_ptr<ToastPanel> QtToastHost::createToastPanel()
{
    auto panel = std::make_shared<QtToastPanel>(m_clock, m_thumbnails);
    ToastViewActions &actions = panel->host().view().actions;
    actions.onHoverChanged = [this](bool isHovering) {
        queue([isHovering](ToastController &controller) {
            if (!controller.isAnySurfaceOpen())
                controller.hoverChanged(isHovering);
        });
    };
    actions.onMarkTemporary = [this] { queue([](ToastController &controller) { controller.markTemporary(); }); };
    actions.onCustomTime = [this] { queue([](ToastController &controller) { controller.openTimeInput(); }); };
    actions.onMove = [this] { queue([](ToastController &controller) { controller.openMoveInput(); }); };
    actions.onMore = [this] { queue([](ToastController &controller) { controller.openMoreMenu(); }); };
    actions.onTrashCopies = [this] { queue([](ToastController &controller) { controller.trashCopies(); }); };
    return panel;
}

std::optional<ToastScreen> QtToastHost::placeToastPanel(ToastPanel &panel)
{
    QScreen *screen = toastScreen();
    if (!screen)
        return std::nullopt;
    m_screen = screen;
    dowsel::placeToastPanel(dynamic_cast<QWidget &>(panel), *screen);
    return describeScreen(*screen);
}

QScreen *QtToastHost::screen() const
{
    if (m_screen)
        return m_screen;
    if (QScreen *underPointer = QGuiApplication::screenAt(QCursor::pos()))
        return underPointer;
    return QGuiApplication::primaryScreen();
}

double QtToastHost::topInset() const
{
    const QScreen *current = screen();
    if (!current)
        return ToastController::topInsetFallback;
    return std::min(describeScreen(*current).topBandHeight, ToastController::topInsetCap);
}

// MARK: Input surfaces

SurfacePanel *QtToastHost::surfacePanel(ToastSurface surface) const
{
    const auto found = m_surfaces.find(surface);
    return found == m_surfaces.end() ? nullptr : found->second.data();
}

void QtToastHost::openSurface(ToastSurface surface)
{
    if (!m_controller)
        return;
    closeSurface(surface);
    releaseKeyboard();
    auto *panel = new SurfacePanel(FloatingPanel::Role::keyboard,
                                   surface == ToastSurface::moreMenu ? moreMenuPanelSize : inputPanelSize);
    panel->setContent(createView(surface));
    panel->setActivationToken(std::exchange(m_activationToken, {}));
    m_surfaces[surface] = panel;
    m_keyPanel = panel;
    if (surface == ToastSurface::moveInput) {
        connect(&m_controller->moveInputModel(), &MoveInputViewModel::changed, panel,
                [this] { placeSurface(ToastSurface::moveInput); });
    }
    placeSurface(surface);
    panel->orderFront();
}

void QtToastHost::closeSurface(ToastSurface surface)
{
    const auto found = m_surfaces.find(surface);
    if (found == m_surfaces.end())
        return;
    SurfacePanel *panel = found->second;
    m_surfaces.erase(found);
    if (!panel)
        return;
    if (m_keyPanel == panel)
        m_keyPanel = nullptr;
    fadeOut(panel);
}

void QtToastHost::releaseKeyboard()
{
    if (beforeTakingKeyboard)
        beforeTakingKeyboard();
}

void QtToastHost::fadeOut(SurfacePanel *panel)
{
    std::erase_if(m_closing, [](const QPointer<SurfacePanel> &closing) { return closing.isNull(); });
    m_closing.emplace_back(panel);
    panel->fadeOutAndDelete();
}

QWidget *QtToastHost::createView(ToastSurface surface)
{
    switch (surface) {
    case ToastSurface::moveInput: {
        auto *view = new MoveInputView(m_controller->moveInputModel());
        // The view has already put the text into the model; searching with the model's
        // query rather than the text of the moment keeps a late search from undoing newer typing.
        view->onQueryChanged = [this](const QString &) {
            queue([](ToastController &c) { c.moveQueryChanged(c.moveInputModel().query()); });
        };
        view->onSubmit = [this] { queue([](ToastController &c) { c.submitMove(); }); };
        view->onCancel = [this] { queue([](ToastController &c) { c.closeMoveInput(); }); };
        view->onCreateNew = [this] { queue([](ToastController &c) { c.createFolderAndMove(); }); };
        view->onBrowse = [this] { queue([](ToastController &c) { c.browseForFolder(); }); };
        return view;
    }
    case ToastSurface::timeInput: {
        auto *view = new TimeInputView(m_controller->timeInputModel(), m_clock);
        view->onQueryChanged = [this] { placeSurface(ToastSurface::timeInput); };
        view->onSubmit = [this] { queue([](ToastController &c) { c.submitTimeInput(); }); };
        view->onCancel = [this] { queue([](ToastController &c) { c.closeTimeInput(); }); };
        return view;
    }
    case ToastSurface::moreMenu: {
        auto *view = new MoreMenuView(m_controller->moreMenuModel());
        view->onSelect = [this](MoreMenuItem::Action action) {
            queue([action](ToastController &c) { c.runMoreAction(action); });
        };
        view->onActivateSelection = [this] { queue([](ToastController &c) { c.activateMoreSelection(); }); };
        view->onCancel = [this] { queue([](ToastController &c) { c.closeMoreMenu(); }); };
        return view;
    }
    }
    return nullptr;
}

int QtToastHost::surfaceHeight(ToastSurface surface) const
{
    switch (surface) {
    case ToastSurface::moveInput:
        return m_controller ? m_controller->moveInputModel().panelHeight() : inputPanelSize.height();
    case ToastSurface::timeInput:
        return TimeInputView::panelHeight;
    case ToastSurface::moreMenu:
        return m_controller ? qRound(panelgeometry::moreMenuHeight(int(m_controller->moreMenuModel().items().size())))
                            : moreMenuPanelSize.height();
    }
    return inputPanelSize.height();
}

void QtToastHost::placeSurface(ToastSurface surface)
{
    SurfacePanel *panel = surfacePanel(surface);
    QScreen *current = screen();
    if (!panel)
        return;
    if (!current) {
        panel->resize(panel->width(), surfaceHeight(surface));
        return;
    }
    placeSurfacePanel(*panel, *current, topInset(), surfaceHeight(surface));
}

// MARK: Share menu

bool QtToastHost::placeShareAnchor()
{
    QScreen *current = screen();
    if (!current)
        return false;
    m_shareAnchor = panelgeometry::shareAnchorFrame(current->geometry(), topInset()).toAlignedRect();
    return true;
}

void QtToastHost::showSharePicker(const std::vector<ShareTarget> &targets, ShareChoice onChoose)
{
    closeSharePicker();
    if (!placeShareAnchor())
        return;
    const QRect anchor = *m_shareAnchor;
    m_shareChoice = std::move(onChoose);
    releaseKeyboard();
    auto *menu = new QMenu;
    m_shareMenu = menu;
    styleLikeThePanels(*menu);
    for (const ShareTarget &target : targets) {
        QAction *action = menu->addAction(QIcon::fromTheme(target.icon), target.title);
        connect(action, &QAction::triggered, this, [this, target] { m_chosenTarget = target; });
    }
    if (targets.empty())
        menu->addAction(tr("No program to share with is installed"))->setEnabled(false);
    // The menu hides before it reports the chosen row, so the choice is read a moment later.
    connect(menu, &QMenu::aboutToHide, this, [this, menu] {
        QTimer::singleShot(0, this, [this, guard = QPointer<QMenu>(menu)] { deliverShareChoice(guard); });
    });
    menu->popup(QPoint(anchor.center().x() - menu->sizeHint().width() / 2, anchor.bottom()));
}

void QtToastHost::deliverShareChoice(const QMenu *menu)
{
    if (!menu || menu != m_shareMenu || !m_shareChoice)
        return;
    const ShareChoice choice = std::exchange(m_shareChoice, {});
    choice(std::exchange(m_chosenTarget, std::nullopt));
}

void QtToastHost::closeSharePicker()
{
    m_shareChoice = {};
    m_chosenTarget.reset();
    m_shareAnchor.reset();
    if (QMenu *menu = m_shareMenu) {
        m_shareMenu = nullptr;
        menu->disconnect(this);
        menu->hide();
        menu->deleteLater();
    }
}

// MARK: Folder chooser

void QtToastHost::chooseFolder(FolderChoice onChoose)
{
    delete m_folderDialog;
    releaseKeyboard();
    auto *dialog = new QFileDialog(nullptr, tr("Choose a destination folder"), QDir::homePath());
    m_folderDialog = dialog;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // Modal to the whole application, above the toast, until the user answers.
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setLabelText(QFileDialog::Accept, tr("Move Here"));
    connect(dialog, &QDialog::finished, this, [dialog, onChoose = std::move(onChoose)](int result) {
        const QStringList chosen = dialog->selectedFiles();
        if (result == QDialog::Accepted && !chosen.isEmpty())
            onChoose(QFile::encodeName(chosen.first()));
        else
            onChoose(std::nullopt);
    });
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

// MARK: Notices

void QtToastHost::showNotice(const QString &title, const QString &text)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    if (bus.isConnected() && bus.interface()->isServiceRegistered(service)) {
        QDBusMessage notify = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"),
                                                             service, QStringLiteral("Notify"));
        notify << QStringLiteral("Dowsel") << 0u << QStringLiteral("dialog-warning") << title << text << QStringList()
               << QVariantMap() << 8000;
        bus.asyncCall(notify);
        return;
    }
    // No notification server (a bare window manager): a panel under the island says it.
    delete m_notice;
    auto *panel = new SurfacePanel(FloatingPanel::Role::display, hintPanelSize);
    m_notice = panel;
    auto *label = panelLabel(QStringLiteral("<b>%1</b><br>%2").arg(title.toHtmlEscaped(), text.toHtmlEscaped()));
    panel->setContent(label);
    const int width = qRound(panelgeometry::surfacePanelWidth);
    if (QScreen *current = screen())
        placeSurfacePanel(*panel, *current, topInset(), std::max(label->heightForWidth(width), 60));
    panel->orderFront();
    QTimer::singleShot(6000, panel, [this, panel] { fadeOut(panel); });
}

// MARK: Move progress

void QtToastHost::showMoveProgress(const QString &fileName, qint64 copied, qint64 total)
{
    if (total <= 0)
        return;
    if (copied >= total) {
        if (SurfacePanel *done = m_progress) {
            m_progress = nullptr;
            fadeOut(done);
        }
        return;
    }
    QLabel *label = nullptr;
    QProgressBar *bar = nullptr;
    if (!m_progress) {
        auto *panel = new SurfacePanel(FloatingPanel::Role::display, QSize(qRound(panelgeometry::surfacePanelWidth), 64));
        auto *content = new QWidget;
        auto *layout = new QVBoxLayout(content);
        layout->setContentsMargins(16, 10, 16, 12);
        layout->setSpacing(8);
        label = new QLabel;
        label->setObjectName(QStringLiteral("moveProgressText"));
        label->setFont(surfacestyle::font(12, QFont::Medium));
        QPalette palette = label->palette();
        palette.setColor(QPalette::WindowText, surfacestyle::primary());
        label->setPalette(palette);
        bar = new QProgressBar;
        bar->setObjectName(QStringLiteral("moveProgressBar"));
        bar->setTextVisible(false);
        bar->setFixedHeight(6);
        bar->setRange(0, 1000);
        bar->setStyleSheet(QStringLiteral("QProgressBar { background: rgba(255, 255, 255, 0.14); border: none;"
                                          " border-radius: 3px; } QProgressBar::chunk { background: rgb(52, 199, 89);"
                                          " border-radius: 3px; }"));
        layout->addWidget(label);
        layout->addWidget(bar);
        panel->setContent(content);
        m_progress = panel;
        if (QScreen *current = screen())
            placeSurfacePanel(*panel, *current, topInset(), 64);
        panel->orderFront();
    } else {
        label = m_progress->findChild<QLabel *>(QStringLiteral("moveProgressText"));
        bar = m_progress->findChild<QProgressBar *>(QStringLiteral("moveProgressBar"));
    }
    if (label)
        label->setText(tr("Moving %1: %2 of %3").arg(fileName, formatByteCount(copied), formatByteCount(total)));
    if (bar)
        bar->setValue(int(copied * 1000 / total));
}

// MARK: Practice hint

void QtToastHost::showHint(HintPhase phase)
{
    if (!m_hint)
        m_hint = new SurfacePanel(FloatingPanel::Role::display, hintPanelSize);
    m_hint->setContent(m_hintContent(phase));
    placeHint();
    m_hint->orderFront();
}

void QtToastHost::hideHint()
{
    if (SurfacePanel *hint = m_hint) {
        m_hint = nullptr;
        fadeOut(hint);
    }
}

void QtToastHost::placeHint()
{
    QWidget *content = m_hint->content();
    const int width = qRound(panelgeometry::surfacePanelWidth);
    const int height = content && content->hasHeightForWidth() ? content->heightForWidth(width)
                                                               : hintPanelSize.height();
    if (QScreen *current = screen())
        placeSurfacePanel(*m_hint, *current, topInset(), std::max(height, 1));
}

} // namespace dowsel
