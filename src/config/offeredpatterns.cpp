#include "offeredpatterns.h"

#include "devicefilter.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <vector>

namespace {

/// Which of the texts begin another one. All texts are folded; equal ones count as one.
QSet<QString> TextsThatBeginAnother(std::vector<QString> texts)
{
    QSet<QString> found;
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    for (std::size_t i = 1; i < texts.size(); ++i) {
        // Whatever begins with a text follows right behind it.
        if (texts[i].startsWith(texts[i - 1]))
            found.insert(texts[i - 1]);
    }
    return found;
}

QString Reversed(const QString &text)
{
    QString reversed = text;
    std::reverse(reversed.begin(), reversed.end());
    return reversed;
}

/// Which of the texts are a part of another one: each part of each text that is as long as some
/// text is looked up. For thousands of texts this takes milliseconds, comparing all of them
/// seconds.
QSet<QStringView> TextsInsideAnother(const std::vector<QString> &texts)
{
    QHash<qsizetype, QSet<QStringView>> byLength;
    for (const QString &text : texts)
        byLength[text.size()].insert(text);
    QSet<QStringView> found;
    for (const QString &text : texts) {
        const QStringView whole(text);
        for (auto entry = byLength.cbegin(); entry != byLength.cend(); ++entry) {
            for (qsizetype start = 0; start + entry.key() <= whole.size(); ++start) {
                const QStringView part = whole.sliced(start, entry.key());
                if (part.size() < whole.size() && entry.value().contains(part))
                    found.insert(*entry.value().constFind(part));
            }
        }
    }
    return found;
}

} // namespace

QStringList OfferedPatterns(const QStringList &texts)
{
    std::vector<QString> folded;
    std::vector<QString> reversed;
    for (const QString &text : texts) {
        folded.push_back(FoldForMatch(text));
        reversed.push_back(Reversed(folded.back()));
    }
    const QSet<QStringView> inside = TextsInsideAnother(folded);
    const QSet<QString> beginning = TextsThatBeginAnother(folded);
    const QSet<QString> ending = TextsThatBeginAnother(reversed);
    QStringList patterns;
    for (std::size_t i = 0; i < folded.size(); ++i) {
        const QString &text = texts[static_cast<qsizetype>(i)];
        // An asterisk at an end of the text itself would be taken for the pattern's.
        const bool isStarred = text.startsWith(u'*');
        if (!isStarred && !text.endsWith(u'*') && !inside.contains(folded[i]))
            patterns.append(text);
        else if (!isStarred && !beginning.contains(folded[i]))
            patterns.append(text + u'*');
        else if (!ending.contains(reversed[i]))
            patterns.append(u'*' + text);
    }
    patterns.removeDuplicates();
    return patterns;
}
