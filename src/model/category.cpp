#include "category.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

// The spelling of every case is part of the stored plan format and of the prompt's reply.
constexpr std::array kTexts = {
    u"project:",
    u"creator",
    u"personal",
    u"admin",
    u"library",
    u"archive",
    u"junk",
    u"duplicate",
    u"needs-you",
    u"user",
};
static_assert(kTexts.size() == size_t(Category::unknown));

constexpr QStringView kProjectPrefix = u"project:";

} // namespace

Category::Category(Kind kind)
    : m_kind(kind)
{ }

Category::Category(Kind kind, const QString& text)
    : m_kind(kind)
    , m_text(text)
{ }

Category Category::forProject(const QString& name)
{
    return {project, name};
}

Category Category::fromText(const QString& text)
{
    if (text.startsWith(kProjectPrefix))
        return forProject(text.sliced(kProjectPrefix.size()));
    for (size_t i = project + 1; i < kTexts.size(); ++i) {
        if (text == QStringView(kTexts[i]))
            return Category(static_cast<Kind>(i));
    }
    return {unknown, text};
}

QString Category::text() const
{
    if (m_kind == project)
        return kProjectPrefix.toString() + m_text;
    if (m_kind == unknown)
        return m_text;
    return QString::fromUtf16(kTexts.at(m_kind));
}

Category::Kind Category::kind() const
{
    return m_kind;
}

QString Category::projectName() const
{
    return m_kind == project ? m_text : QString();
}

bool Category::isSetAside() const
{
    return m_kind == junk || m_kind == duplicate;
}

bool Category::isUndecided() const
{
    return m_kind == needsYou || m_kind == unknown;
}

size_t qHash(const Category& category, size_t seed)
{
    return qHashMulti(seed, int(category.kind()), category.text());
}
