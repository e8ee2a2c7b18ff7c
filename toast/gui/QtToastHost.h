#pragma once

#include "toast/ToastHost.h"
#include "toast/gui/SurfacePanel.h"

#include <QFileDialog>
#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QScreen>

#include <map>
#include <vector>

namespace dowsel {

class Clock;
class ThumbnailCache;
class ToastController;

// The toast on screen with Qt widgets: the island's panel on the toast's screen, the move
// input, the time input and the More menu in panels under it, the share menu, the folder
// chooser and the practice hint. Clicks and keys in these views never act directly: each
// queues a main-thread call of the bound controller.
class QtToastHost final : public QObject, public ToastHost {
    Q_OBJECT
public:
    // Builds the practice hint's content for a phase; the panel takes ownership.
    using HintContent = std::function<QWidget *(HintPhase phase)>;

    QtToastHost(const Clock &clock, ThumbnailCache &thumbnails, QObject *parent = nullptr);
    ~QtToastHost() override;

    // The controller that the views report to and whose input models they show. Surfaces
    // open only once a controller is bound.
    void bind(ToastController &controller);
    void setHintContent(HintContent content);

    std::shared_ptr<ToastPanel> createToastPanel() override;
    std::optional<ToastScreen> placeToastPanel(ToastPanel &panel) override;
    // Shows the panel without taking the keyboard: the focus tracker hands it over once the
    // window that had it is remembered.
    void openSurface(ToastSurface surface) override;
    void closeSurface(ToastSurface surface) override;
    bool placeShareAnchor() override;
    void showSharePicker(const std::vector<ShareTarget> &targets, ShareChoice onChoose) override;
    void closeSharePicker() override;
    void chooseFolder(FolderChoice onChoose) override;
    void showNotice(const QString &title, const QString &text) override;
    // A long move to another drive goes on after the toast has closed: a slim panel at the
    // island's place says how far it is, and goes when the copy is complete.
    void showMoveProgress(const QString &fileName, qint64 copied, qint64 total);
    SurfacePanel *moveProgressPanel() const { return m_progress; }
    void showHint(HintPhase phase) override;
    void hideHint() override;

    // Runs before any surface asks the X server for the keyboard: the global shortcuts let
    // go of it first, or a surface opened from a shortcut whose keys are still down would
    // find the keyboard grabbed and never get it.
    std::function<void()> beforeTakingKeyboard;

    // What the desktop handed over with the key or command being answered, for the input
    // panel that opens in answer to take the focus with: the next panel opened takes it, and
    // the caller clears it once the answer is done, so that no later panel gets it.
    void setActivationToken(const QString &token) { m_activationToken = token; }

    // The input panel most recently opened and not yet closed: the one to give the keyboard.
    QWidget *keyPanel() const { return m_keyPanel; }
    SurfacePanel *surfacePanel(ToastSurface surface) const;
    SurfacePanel *hintPanel() const { return m_hint; }
    QMenu *shareMenu() const { return m_shareMenu; }
    QFileDialog *folderDialog() const { return m_folderDialog; }

private:
    template <class Call>
    void queue(Call call);
    QScreen *screen() const;
    double topInset() const;
    QWidget *createView(ToastSurface surface);
    int surfaceHeight(ToastSurface surface) const;
    void placeSurface(ToastSurface surface);
    void placeHint();
    void deliverShareChoice(const QMenu *menu);
    void fadeOut(SurfacePanel *panel);
    void releaseKeyboard();

    const Clock &m_clock;
    ThumbnailCache &m_thumbnails;
    QPointer<ToastController> m_controller;
    QPointer<QScreen> m_screen;
    std::map<ToastSurface, QPointer<SurfacePanel>> m_surfaces;
    QPointer<SurfacePanel> m_keyPanel;
    QString m_activationToken;
    QPointer<SurfacePanel> m_hint;
    // Panels still fading out; their views read the controller's models until they are gone.
    std::vector<QPointer<SurfacePanel>> m_closing;
    HintContent m_hintContent;
    std::optional<QRect> m_shareAnchor;
    QPointer<QMenu> m_shareMenu;
    ShareChoice m_shareChoice;
    std::optional<ShareTarget> m_chosenTarget;
    QPointer<QFileDialog> m_folderDialog;
    QPointer<SurfacePanel> m_notice;
    QPointer<SurfacePanel> m_progress;
};

} // namespace dowsel
