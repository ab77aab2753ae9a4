#pragma once

#include "linecomposer.h"
#include "memorypage.h"
#include "rowmarks.h"
#include "rowpainter.h"

#include <QObject>
#include <QRect>
#include <QRegion>

#include <cstdint>
#include <vector>

class QPlainTextEdit;

/// The widget that the page is painted on.
///
/// Nothing else paints or schedules painting: of the rows that the page has marked, of the rows
/// that an event's region touches, or of the picture moved by whole rows. GUI thread only.
class ViewSurface : public QObject {
    Q_OBJECT

public:
    /// @param parent  of the text widget that serves as surface; page and marks must outlive this
    ViewSurface(QWidget *parent, MemoryPage &page);

    /// Sets who is asked for the selection, the cursor and the typed bytes. To be called before the
    /// first paint; both must outlive this.
    void SetMarks(const RowMarks &marks, const TypedBytes &typed);

    [[nodiscard]] QPlainTextEdit *Widget() const { return m_widget; }
    [[nodiscard]] QWidget *Viewport() const;
    /// Whether the view, or the edit box over it, has the keyboard. The cursor is hollow otherwise.
    [[nodiscard]] bool HasFocus() const;

    /// Takes the fixed-pitch font that belongs to the application's font.
    void SetFont(const QFont &applicationFont);

    /// The row that starts at an address as it is shown, with what was typed over it.
    void ComposeRow(std::uint64_t address, ComposedLine &line);
    /// Sets the region that the next Paint draws.
    void Expose(const QRegion &region) { m_exposed = region; }
    /// Paints the exposed region, or all of the viewport when none was exposed.
    /// @return false when the widget is not the viewport
    bool Paint(const QWidget *widget);
    /// Schedules the rows that the page has marked.
    void RepaintRows();
    /// Schedules everything.
    void RepaintAll();
    /// Moves the picture as the page has moved, where that is exact to the device pixel.
    void FollowPage(std::uint64_t oldBase);
    /// The place of a byte's digits in the viewport; y is that of its row.
    [[nodiscard]] QPoint PlaceOf(std::uint64_t address, int column) const;

private:
    void PaintRow(QPainter &painter, std::uint32_t row);
    void SyncColours();

    MemoryPage &m_page;
    const RowMarks *m_marks = nullptr;
    const TypedBytes *m_typed = nullptr;
    QPlainTextEdit *m_widget;
    RowPainter m_rowPainter;
    ComposedLine m_line;
    QRegion m_exposed;
    bool m_hasFocus = false;             // during a paint
    std::vector<std::uint8_t> m_rowData; // a row that the cache holds only in part, or typed over
    std::vector<ByteStatus> m_rowStatus;
    std::vector<QRect> m_repaintRects;
};
