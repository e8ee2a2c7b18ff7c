#pragma once

#include "app/PermissionsManager.h"

#include <QString>

namespace dowsel {

class KeyGrabber;

// "waiting", "bound", "no keys assigned", "missing", "declined": for `dowsel status`.
QString portalAnswerName(PortalAnswer answer);

// What the desktop's GlobalShortcuts portal answered, when `keys` is its client; a key hook of
// another kind means there is no portal to ask.
PortalStatus portalStatusOf(const KeyGrabber &keys);

} // namespace dowsel
