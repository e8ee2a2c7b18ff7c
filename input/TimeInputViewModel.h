#pragma once

#include "expiry/DurationParser.h"
#include "platform/Time.h"

#include <QDateTime>
#include <QLocale>
#include <QObject>
#include <QString>

#include <optional>

namespace dowsel {

// The custom keep-time input: what was typed and, parsed live on every change, the duration
// it stands for. Main thread only.
class TimeInputViewModel final : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    const QString &query() const { return m_query; }
    const std::optional<ParsedDuration> &parsed() const { return m_parsed; }

    // The field's text changed: store it and parse it again.
    void setQuery(const QString &text);
    // Empty query, no parse: the state of a freshly opened input.
    void reset();

    // The status line shows the hint while nothing parses, else the echo and the preview of
    // the expiry `now` + the parsed interval (recomputed on every render).
    static QString hintText();
    std::optional<QString> expiryPreview(const QDateTime &now, const QLocale &locale = QLocale()) const;

Q_SIGNALS:
    void changed();

private:
    QString m_query;
    std::optional<ParsedDuration> m_parsed;
};

// "Expires 3:45 PM today", "... tomorrow", or "Expires Mon, Nov 17 at 3:45 PM", by calendar
// day in the local time of `now`.
QString expiryPreviewText(const QDateTime &now, const QDateTime &expiry, const QLocale &locale = QLocale());

} // namespace dowsel
