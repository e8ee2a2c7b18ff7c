#include "expiry/DurationParser.h"

#include <QHash>

#include <array>
#include <charconv>
#include <cmath>

namespace dowsel::DurationParser {

namespace {

const QHash<QString, Unit> &unitWords()
{
    static const QHash<QString, Unit> words = [] {
        QHash<QString, Unit> table;
        const auto add = [&table](Unit unit, std::initializer_list<const char16_t *> list) {
            for (const char16_t *word : list)
                table.insert(QString::fromUtf16(word), unit);
        };
        add(Unit::seconds, {u"s", u"sec", u"secs", u"second", u"seconds", u"seg", u"segundo", u"segundos"});
        add(Unit::minutes, {u"m", u"min", u"mins", u"minute", u"minutes", u"minuto", u"minutos"});
        add(Unit::hours, {u"h", u"hr", u"hrs", u"hour", u"hours", u"hora", u"horas"});
        add(Unit::days, {u"d", u"day", u"days", u"d\u00eda", u"dia", u"d\u00edas", u"dias"});
        add(Unit::weeks, {u"w", u"wk", u"wks", u"week", u"weeks", u"sem", u"semana", u"semanas"});
        return table;
    }();
    return words;
}

constexpr std::array<const char16_t *, 6> fillerPrefixes{u"in ", u"for ", u"en ", u"por ", u"durante ", u"dentro de "};

bool isUnitLetter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'a' && u <= u'z') || u == u'\u00e1' || u == u'\u00e9' || u == u'\u00ed' || u == u'\u00f3'
           || u == u'\u00fa' || u == u'\u00f1';
}

// Step 4.1: the number with a comma read as a decimal point, in the C locale; the whole
// group must convert.
std::optional<double> parseNumber(QStringView group)
{
    std::string ascii;
    ascii.reserve(size_t(group.size()));
    for (QChar c : group) {
        const char16_t u = c.unicode();
        if (u == u',')
            ascii.push_back('.');
        else if (u < 0x80)
            ascii.push_back(char(u));
        else
            return std::nullopt; // a digit from another script
    }
    double value = 0;
    const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    if (error != std::errc() || end != ascii.data() + ascii.size())
        return std::nullopt;
    return value;
}

QString trimSpacesAndTabs(const QString &text)
{
    qsizetype start = 0, end = text.size();
    while (start < end && (text[start] == u' ' || text[start] == u'\t'))
        ++start;
    while (end > start && (text[end - 1] == u' ' || text[end - 1] == u'\t'))
        --end;
    return text.mid(start, end - start);
}

} // namespace

Seconds unitSeconds(Unit unit)
{
    switch (unit) {
    case Unit::seconds:
        return 1;
    case Unit::minutes:
        return 60;
    case Unit::hours:
        return 3600;
    case Unit::days:
        return 86400;
    case Unit::weeks:
        return 604800;
    }
    return 0;
}

std::optional<Unit> unitForWord(const QString &word)
{
    const auto &words = unitWords();
    const auto it = words.constFind(word);
    if (it == words.constEnd())
        return std::nullopt;
    return *it;
}

// The matches of (\d+(?:[.,]\d+)?)\s*([a-záéíóúñ]+), left to right, without overlap. A match
// can only begin a run of digits and must take the whole run, so the scan needs no
// backtracking beyond the optional decimal part.
std::vector<Token> tokenize(const QString &text)
{
    std::vector<Token> tokens;
    const qsizetype n = text.size();
    qsizetype i = 0;
    while (i < n) {
        if (!text[i].isDigit()) {
            ++i;
            continue;
        }
        const qsizetype start = i;
        qsizetype j = i;
        while (j < n && text[j].isDigit())
            ++j;
        const qsizetype intEnd = j;
        // Try the decimal part first (greedy), then without it.
        qsizetype numberEnd = intEnd;
        if (j + 1 < n && (text[j] == u'.' || text[j] == u',') && text[j + 1].isDigit()) {
            qsizetype k = j + 1;
            while (k < n && text[k].isDigit())
                ++k;
            numberEnd = k;
        }
        qsizetype w = numberEnd;
        while (w < n && text[w].isSpace())
            ++w;
        qsizetype wordEnd = w;
        while (wordEnd < n && isUnitLetter(text[wordEnd]))
            ++wordEnd;
        if (wordEnd == w) {
            // No unit after the number (with or without its decimal part: a separator is not
            // a space or a letter), so nothing matches starting anywhere in this digit run.
            i = intEnd;
            continue;
        }
        if (const auto value = parseNumber(QStringView(text).sliced(start, numberEnd - start)); value && *value > 0)
            tokens.push_back({*value, text.sliced(w, wordEnd - w)});
        i = wordEnd;
    }
    return tokens;
}

QString formatEcho(Seconds interval)
{
    static constexpr std::array<std::pair<double, char>, 5> units{
        {{604800, 'w'}, {86400, 'd'}, {3600, 'h'}, {60, 'm'}, {1, 's'}}};
    QString echo;
    int shown = 0;
    double rest = std::floor(interval);
    for (const auto &[length, suffix] : units) {
        const double count = std::floor(rest / length);
        rest -= count * length;
        if (count < 1 || shown == 2)
            continue;
        if (!echo.isEmpty())
            echo += QLatin1Char(' ');
        echo += QString::number(count, 'f', 0) + QLatin1Char(suffix);
        ++shown;
    }
    return echo;
}

std::optional<ParsedDuration> parse(const QString &input)
{
    QString text = input.trimmed().toLower().normalized(QString::NormalizationForm_C);
    if (text.isEmpty())
        return std::nullopt;

    for (bool stripped = true; stripped;) {
        stripped = false;
        for (const char16_t *prefix : fillerPrefixes) {
            const QString phrase = QString::fromUtf16(prefix);
            if (text.startsWith(phrase)) {
                text.remove(0, phrase.size());
                stripped = true;
                break;
            }
        }
    }
    text = trimSpacesAndTabs(text);

    const std::vector<Token> tokens = tokenize(text);
    if (tokens.empty())
        return std::nullopt;

    double total = 0;
    for (const Token &token : tokens) {
        const auto unit = unitForWord(token.unit);
        if (!unit)
            return std::nullopt;
        total += token.value * unitSeconds(*unit);
    }
    // Overflowing input ("1e400 weeks" written out in digits) is not a duration.
    if (!(total > 0) || !std::isfinite(total))
        return std::nullopt;

    QString echo = formatEcho(total);
    if (echo.isEmpty())
        echo = QString::number(std::trunc(total), 'f', 0) + QLatin1Char('s');
    return ParsedDuration{total, echo};
}

} // namespace dowsel::DurationParser
