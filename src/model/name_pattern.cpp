#include "name_pattern.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

QString tr(const char* source)
{
    return QCoreApplication::translate("NamePattern", source);
}

char32_t codePointAt(QStringView name, qsizetype at, qsizetype* units)
{
    const QChar unit = name[at];
    if (unit.isHighSurrogate() && at + 1 < name.size() && name[at + 1].isLowSurrogate()) {
        *units = 2;
        return QChar::surrogateToUcs4(unit, name[at + 1]);
    }
    *units = 1;
    return unit.unicode();
}

// The set that begins after the "[" at `at`; `end` receives the position of its "]". A "]" or
// "-" right after the opening (or after "!") stands for itself, as in every shell.
bool readSet(const QString& folded,
             qsizetype at,
             qsizetype* end,
             bool* negated,
             QList<std::pair<char32_t, char32_t>>* ranges,
             QString* problem)
{
    qsizetype i = at + 1;
    *negated = i < folded.size() && (folded[i] == u'!' || folded[i] == u'^');
    if (*negated)
        ++i;
    const qsizetype first = i;
    while (i < folded.size() && (folded[i] != u']' || i == first)) {
        qsizetype units = 1;
        const char32_t low = codePointAt(folded, i, &units);
        i += units;
        char32_t high = low;
        if (i + 1 < folded.size() && folded[i] == u'-' && folded[i + 1] != u']') {
            high = codePointAt(folded, i + 1, &units);
            i += 1 + units;
            if (high < low) {
                if (problem)
                    *problem = tr(QT_TRANSLATE_NOOP("NamePattern",
                                                    "The range \u201C%1-%2\u201D in the name pattern runs backwards."))
                                   .arg(QString::fromUcs4(&low, 1), QString::fromUcs4(&high, 1));
                return false;
            }
        }
        ranges->append({low, high});
    }
    if (i >= folded.size()) {
        if (problem)
            *problem
                = tr(QT_TRANSLATE_NOOP("NamePattern", "The name pattern has a \u201C[\u201D that is never closed."));
        return false;
    }
    *end = i;
    return true;
}

} // namespace

std::optional<NamePattern> NamePattern::compile(const QString& pattern, QString* problem)
{
    if (pattern.contains(u'/')) {
        if (problem)
            *problem = tr(
                QT_TRANSLATE_NOOP("NamePattern", "A name pattern matches a name, so it can't contain \u201C/\u201D."));
        return std::nullopt;
    }
    if (pattern.contains(QChar(0))) {
        if (problem)
            *problem = tr(QT_TRANSLATE_NOOP("NamePattern", "The name pattern holds a character no name can have."));
        return std::nullopt;
    }
    NamePattern result;
    result.m_text = pattern;
    const QString folded = fold(pattern);
    for (qsizetype i = 0; i < folded.size(); ++i) {
        Token token;
        const QChar unit = folded[i];
        if (unit == u'*') {
            // Two stars in a row match what one does; one keeps the walk short.
            if (!result.m_tokens.isEmpty() && result.m_tokens.constLast().op == Op::anyRun)
                continue;
            token.op = Op::anyRun;
        } else if (unit == u'?') {
            token.op = Op::anyOne;
        } else if (unit == u'[') {
            qsizetype end = 0;
            QList<std::pair<char32_t, char32_t>> ranges;
            if (!readSet(folded, i, &end, &token.negated, &ranges, problem))
                return std::nullopt;
            token.op = Op::set;
            for (const auto& [first, last] : ranges)
                token.ranges.append({first, last});
            i = end;
        } else {
            token.unit = unit;
        }
        result.m_tokens.append(token);
    }
    if (result.m_tokens.size() > 1 && result.m_tokens.first().op == Op::anyRun) {
        QString suffix;
        for (const Token& token : result.m_tokens.sliced(1)) {
            if (token.op != Op::literal)
                return result;
            suffix.append(token.unit);
        }
        result.m_suffixOnly = suffix;
    }
    return result;
}

QString NamePattern::fold(QStringView name)
{
    return name.toString().toCaseFolded();
}

const QString& NamePattern::text() const
{
    return m_text;
}

bool NamePattern::matches(QStringView folded) const
{
    if (m_suffixOnly)
        return folded.endsWith(*m_suffixOnly);
    return matchesSlowly(folded);
}

qsizetype NamePattern::step(const Token& token, QStringView name, qsizetype at)
{
    switch (token.op) {
        case Op::literal:
            return name[at] == token.unit ? 1 : 0;
        case Op::anyOne: {
            qsizetype units = 1;
            codePointAt(name, at, &units);
            return units;
        }
        case Op::set: {
            qsizetype units = 1;
            const char32_t point = codePointAt(name, at, &units);
            bool inside = false;
            for (const Range& range : token.ranges)
                inside = inside || (range.first <= point && point <= range.last);
            return inside != token.negated ? units : 0;
        }
        case Op::anyRun:
            break;
    }
    return 0;
}

bool NamePattern::matchesSlowly(QStringView name) const
{
    // The classic walk: on a mismatch, the last "*" takes one more character and the walk goes
    // on from there. Never more than (pattern length) x (name length) steps.
    const qsizetype count = m_tokens.size();
    qsizetype p = 0;
    qsizetype n = 0;
    qsizetype starToken = -1;
    qsizetype starName = 0;
    while (n < name.size()) {
        if (p < count && m_tokens[p].op == Op::anyRun) {
            starToken = p++;
            starName = n;
            continue;
        }
        if (p < count) {
            if (const qsizetype units = step(m_tokens[p], name, n)) {
                n += units;
                ++p;
                continue;
            }
        }
        if (starToken < 0)
            return false;
        qsizetype units = 1;
        codePointAt(name, starName, &units);
        starName += units;
        n = starName;
        p = starToken + 1;
    }
    while (p < count && m_tokens[p].op == Op::anyRun)
        ++p;
    return p == count;
}
