#include "app/gui/PortalAnswers.h"

#include "platform/linux/gui/PortalKeyGrabber.h"

namespace dowsel {

QString portalAnswerName(PortalAnswer answer)
{
    switch (answer) {
    case PortalAnswer::waiting:
        return QStringLiteral("waiting");
    case PortalAnswer::bound:
        return QStringLiteral("bound");
    case PortalAnswer::unassigned:
        return QStringLiteral("no keys assigned");
    case PortalAnswer::missing:
        return QStringLiteral("missing");
    case PortalAnswer::declined:
        return QStringLiteral("declined");
    }
    return {};
}

PortalStatus portalStatusOf(const KeyGrabber &keys)
{
    const auto *portal = dynamic_cast<const PortalKeyGrabber *>(&keys);
    if (!portal)
        return {PortalAnswer::missing, QStringLiteral("no portal client on this session")};
    switch (portal->state()) {
    case PortalKeyGrabber::State::idle:
    case PortalKeyGrabber::State::connecting:
        return {PortalAnswer::waiting, {}};
    case PortalKeyGrabber::State::bound:
        return {PortalAnswer::bound, {}};
    case PortalKeyGrabber::State::unassigned:
        return {PortalAnswer::unassigned, portal->detail()};
    case PortalKeyGrabber::State::missing:
        return {PortalAnswer::missing, portal->detail()};
    case PortalKeyGrabber::State::declined:
        return {PortalAnswer::declined, portal->detail()};
    }
    return {};
}

} // namespace dowsel
