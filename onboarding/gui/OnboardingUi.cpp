#include "onboarding/gui/OnboardingUi.h"

#include "app/PermissionsManager.h"
#include "core/Logging.h"
#include "expiry/ExpirySettings.h"
#include "onboarding/OnboardingFlow.h"
#include "onboarding/gui/OnboardingHintView.h"
#include "onboarding/gui/OnboardingIsland.h"
#include "platform/Executor.h"
#include "toast/gui/ToastUi.h"

#include <QPointer>

namespace dowsel {

OnboardingUi::OnboardingUi(Services services) : m_services(std::move(services))
{
    ToastUi &toast = m_services.toast;
    GlobalShortcuts &shortcuts = toast.shortcuts();
    m_flow = std::make_unique<OnboardingFlow>(OnboardingFlow::Services{
        .controller = toast.controller(),
        .store = m_services.store,
        .permissions = m_services.permissions,
        .preferences = m_services.preferences,
        .scheduler = m_services.scheduler,
        .mainExecutor = m_services.mainExecutor,
        .downloadsPath = m_services.downloadsPath,
        .checkShortcuts =
            [&shortcuts, &permissions = m_services.permissions] {
                ShortcutCheck check;
                // On a Wayland session the grabs reach X11 windows only: not a working shortcut.
                check.isAvailable = shortcuts.installEventTap() && permissions.shortcutsUnavailableReason().isEmpty();
                check.blocked = shortcuts.blockedShortcuts();
                return check;
            },
        .onStartCoreServices = m_services.onStartCoreServices,
        .onCompleted = m_services.onCompleted,
    });
    m_island = std::make_unique<OnboardingIsland>(*m_flow, m_services.mainExecutor);
    toast.onOnboardingPrimary = [flow = m_flow.get()] { flow->primary(); };

    // The hint's buttons, like every view callback, act in a main-thread task.
    toast.host().setHintContent([this, &controller = toast.controller()](HintPhase phase) -> QWidget * {
        const HintContent content = hintContent(phase, expiryLabel(m_services.preferences),
                                                controller.demoMarkedTemporary(),
                                                m_services.permissions.shortcutsGrant().route);
        qCDebug(lcOnboarding).noquote() << "hint: " + content.headline + " " + content.body;
        auto *view = new OnboardingHintView(content);
        const QPointer<ToastController> alive = &controller;
        const auto closeHint = [this, alive] {
            m_services.mainExecutor.post([alive] {
                if (alive)
                    alive->closeHint();
            });
        };
        QObject::connect(view, &OnboardingHintView::doneClicked, view, closeHint);
        QObject::connect(view, &OnboardingHintView::concludedDismissClicked, view, closeHint);
        QObject::connect(view, &OnboardingHintView::openSettingsClicked, view, [this] {
            if (m_services.onOpenAppSettings)
                m_services.mainExecutor.post(m_services.onOpenAppSettings);
        });
        return view;
    });
}

OnboardingUi::~OnboardingUi()
{
    m_services.toast.onOnboardingPrimary = nullptr;
    m_services.toast.host().setHintContent({});
}

void OnboardingUi::start()
{
    m_flow->start();
}

void OnboardingUi::replay()
{
    m_flow->start();
}

void OnboardingUi::dropPracticeFile()
{
    m_flow->startActionDemo(false);
}

} // namespace dowsel
