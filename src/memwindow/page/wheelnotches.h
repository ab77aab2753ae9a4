#pragma once

/// Converts wheel movement into rows: three for each full notch of 120 units. Touch pads send
/// fractions of a notch; they add up until the direction changes.
class WheelNotches {
public:
    static constexpr int kUnitsPerNotch = 120;
    static constexpr int kRowsPerNotch = 3;

    /// @return rows to scroll, > 0 towards lower addresses
    int RowsFor(int units)
    {
        if ((units > 0) != (m_remainder > 0))
            m_remainder = 0;
        m_remainder += units;
        const int notches = m_remainder / kUnitsPerNotch;
        m_remainder -= notches * kUnitsPerNotch;
        return notches * kRowsPerNotch;
    }

private:
    int m_remainder = 0;
};
