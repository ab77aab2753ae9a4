#include "offeredpatterns.h"

#include "devicefilter.h"

#include <QHash>
#include <QSet>

#include <cstdint>
#include <vector>

namespace {

/// Where a text occurs in another one.
struct Uses {
    bool inside = false; // anywhere
    bool asBeginning = false;
    bool asEnd = false;
};

/// The hashes of all parts of a text, each in one step. Two parts that hash alike are taken for
/// equal: at worst a text is offered with an asterisk that it would not need.
class PartHashes {
public:
    explicit PartHashes(const QString &text)
    {
        for (const QChar c : text) {
            m_prefixes.push_back(m_prefixes.back() * kBase + c.unicode() + 1);
            m_powers.push_back(m_powers.back() * kBase);
        }
    }
    [[nodiscard]] qsizetype Length() const { return static_cast<qsizetype>(m_prefixes.size()) - 1; }
    [[nodiscard]] quint64 Of(qsizetype start, qsizetype length) const
    {
        const auto first = static_cast<std::size_t>(start);
        const auto count = static_cast<std::size_t>(length);
        return m_prefixes[first + count] - m_prefixes[first] * m_powers[count];
    }
    [[nodiscard]] quint64 OfWhole() const { return m_prefixes.back(); }

private:
    static constexpr quint64 kBase = 0x9E37'79B9'7F4A'7C15;

    std::vector<quint64> m_prefixes{0};
    std::vector<quint64> m_powers{1};
};

/// Looks up each part of each text that is as long as some text: for thousands of texts this takes
/// milliseconds, comparing all of them with each other takes seconds.
QHash<quint64, Uses> FindUses(const std::vector<PartHashes> &texts)
{
    QHash<quint64, Uses> uses;
    QSet<qsizetype> lengths;
    for (const PartHashes &text : texts) {
        uses.insert(text.OfWhole(), {});
        lengths.insert(text.Length());
    }
    for (const PartHashes &text : texts) {
        for (const qsizetype length : std::as_const(lengths)) {
            for (qsizetype start = 0; length < text.Length() && start + length <= text.Length();
                 ++start) {
                const auto found = uses.find(text.Of(start, length));
                if (found == uses.end())
                    continue;
                found->inside = true;
                found->asBeginning |= start == 0;
                found->asEnd |= start + length == text.Length();
            }
        }
    }
    return uses;
}

} // namespace

QStringList OfferedPatterns(const QStringList &texts)
{
    std::vector<PartHashes> hashes;
    hashes.reserve(static_cast<std::size_t>(texts.size()));
    for (const QString &text : texts)
        hashes.emplace_back(FoldForMatch(text));
    const QHash<quint64, Uses> allUses = FindUses(hashes);
    QStringList patterns;
    for (std::size_t i = 0; i < hashes.size(); ++i) {
        const QString &text = texts[static_cast<qsizetype>(i)];
        const Uses uses = allUses.value(hashes[i].OfWhole());
        // An asterisk at an end of the text itself would be taken for the pattern's.
        const bool isStarred = text.startsWith(u'*');
        if (!isStarred && !text.endsWith(u'*') && !uses.inside)
            patterns.append(text);
        else if (!isStarred && !uses.asBeginning)
            patterns.append(text + u'*');
        else if (!uses.asEnd)
            patterns.append(u'*' + text);
    }
    return patterns;
}
