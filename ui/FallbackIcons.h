#pragma once

namespace dowsel {

// Under a bare window manager no icon theme is set and every themed icon Dowsel draws (the
// More menu, the onboarding, file types, the share menu) would be blank. Dowsel ships the
// few it uses; they answer wherever the desktop's theme has none. Call once the
// application exists.
void installFallbackIcons();

} // namespace dowsel
