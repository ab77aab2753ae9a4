#pragma once

#include <QString>
#include <QStringView>

/// The filter text that lets every cell pass; an empty one counts as this.
inline constexpr QLatin1StringView kMatchAllPattern("*");

/// One column's filter, prepared once so that a cell costs a single comparison.
///
/// Case does not matter. "*x" keeps the texts that end with x, "x*" those that begin with it, any
/// other pattern those that contain it.
class DevicePattern {
public:
    DevicePattern() = default;
    explicit DevicePattern(const QString &text);

    /// True when every text passes.
    [[nodiscard]] bool MatchesAll() const { return m_kind == Kind::All; }
    /// @param foldedText  the cell's text after FoldForMatch
    [[nodiscard]] bool Matches(QStringView foldedText) const;

private:
    enum class Kind { All, EndsWith, BeginsWith, Contains };

    Kind m_kind = Kind::All;
    QString m_folded;
};

/// Brings a text into the form that patterns compare: two texts fold alike when only case differs.
[[nodiscard]] QString FoldForMatch(const QString &text);
