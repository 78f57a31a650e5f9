#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// A file-name pattern as people type one, matched in any case: "*" stands for any run of
// characters, "?" for one character, "[abc]" and "[a-z]" for one of a set and "[!abc]" for one
// outside it; every other character stands for itself. Written for the scan, which asks every
// rule about every item: matching allocates nothing.
class NamePattern
{
public:
    // The pattern, or nothing with the reason it cannot be one in `problem`.
    static std::optional<NamePattern> compile(const QString& text, QString* problem = nullptr);

    // `folded`: the name as fold() gives it, folded once for all the rules that ask.
    bool matches(QStringView folded) const;
    static QString fold(QStringView name);

    const QString& text() const;

private:
    enum class Op : quint8 {
        literal,
        anyOne,
        anyRun,
        set,
    };
    struct Range
    {
        char32_t first;
        char32_t last;
    };
    struct Token
    {
        Op op = Op::literal;
        QChar unit; // literal
        bool negated = false; // set
        QList<Range> ranges; // set
    };

    // How many units of `name` at `at` the token takes, or 0 when it does not match there.
    static qsizetype step(const Token& token, QStringView name, qsizetype at);
    bool matchesSlowly(QStringView folded) const;

    QString m_text;
    QList<Token> m_tokens;
    // "*.ext" and the like, the common case, need no walk: the literal end of the name.
    std::optional<QString> m_suffixOnly;
};
