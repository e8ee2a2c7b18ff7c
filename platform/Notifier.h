#pragma once

#include <QString>

namespace dowsel {

// A message for the user that must reach them outside Dowsel's own windows.
struct Notice {
    enum class Urgency { normal, critical };
    QString summary; // one line
    QString body;
    Urgency urgency = Urgency::normal;
    bool operator==(const Notice &) const = default;
};

// Desktop notifications. Safe to call from any thread; returns at once.
class Notifier {
public:
    virtual ~Notifier() = default;
    virtual void notify(const Notice &notice) = 0;
};

} // namespace dowsel
