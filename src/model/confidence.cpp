#include "confidence.h"

#include <array>

namespace {

// Part of the stored plan format and of the prompt's reply.
constexpr std::array kTexts = {u"high", u"medium", u"low"};
static_assert(kTexts.size() == size_t(Confidence::unknown));

} // namespace

Confidence::Confidence(Level level)
    : m_level(level)
{ }

Confidence Confidence::fromText(const QString& text)
{
    for (size_t i = 0; i < kTexts.size(); ++i) {
        if (text == QStringView(kTexts[i]))
            return Confidence(static_cast<Level>(i));
    }
    Confidence invented(unknown);
    invented.m_text = text;
    return invented;
}

QString Confidence::text() const
{
    return m_level == unknown ? m_text : QString::fromUtf16(kTexts.at(m_level));
}

Confidence::Level Confidence::level() const
{
    return m_level;
}

size_t qHash(const Confidence& confidence, size_t seed)
{
    return qHashMulti(seed, int(confidence.level()), confidence.text());
}
