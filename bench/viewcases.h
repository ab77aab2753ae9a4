#pragma once

#include <memory>
#include <string_view>
#include <vector>

/// One operation of the memory view, or a baseline for one, ready to be repeated.
class ViewCase {
public:
    virtual ~ViewCase() = default;
    /// The operation with all that it causes, the painting into the window's image included.
    virtual void Run() = 0;
    /// Rows that one operation paints, on average; 0 where that has no meaning.
    [[nodiscard]] virtual double PaintedRows() { return 0; }
    /// Bytes and calls of the read callback so far.
    struct Reads {
        long calls = 0;
        long bytes = 0;
    };
    [[nodiscard]] virtual Reads ReadsSoFar() const { return {}; }
    [[nodiscard]] virtual long PaintEvents() const { return 0; }
};

/// limit     drawing one prebuilt string per visible row, the least that the text engine can do
/// rlimit    the same for the rows alone that the case r repaints
/// empty     scrolling a bare widget of the same shape by one row
/// a         a tick after which every byte has changed
/// b         a tick after which 1 % of the bytes have changed, always the same ones
/// r         a tick after which 1 % have changed at other places, older changes fading
/// n         a tick on unchanged memory
/// c         scrolling by one row
/// d         a jump to a far address
/// format, snprintf     "%.2X" of 256 values, by the program's formatter and the library's
/// hexrows, hexlookup   16 bytes as a row of the view, and as bare pairs of digits
[[nodiscard]] const std::vector<std::string_view> &ViewCaseNames();
/// Needs a QApplication. @return null for an unknown name
[[nodiscard]] std::unique_ptr<ViewCase> MakeViewCase(std::string_view name);
