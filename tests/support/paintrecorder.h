#pragma once

#include <QColor>
#include <QList>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QWidget>

/// A paint device without pixels that notes the texts drawn on it.
class PaintRecorder : public QPaintDevice {
public:
    struct Text {
        QPointF baseline;
        QString text;
        QRgb colour;
    };

    explicit PaintRecorder(QSize size)
        : m_size(size)
        , m_engine(*this)
    {
    }

    /// The texts that a widget draws, in order.
    static QList<Text> Record(QWidget &widget)
    {
        PaintRecorder recorder(widget.size());
        widget.render(&recorder);
        return recorder.m_texts;
    }

    QPaintEngine *paintEngine() const override { return &m_engine; }

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmWidth:
            return m_size.width();
        case PdmHeight:
            return m_size.height();
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return 96;
        case PdmDepth:
            return 32;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return int(devicePixelRatioFScale());
        default:
            return 0;
        }
    }

private:
    class Engine : public QPaintEngine {
    public:
        explicit Engine(PaintRecorder &recorder)
            : QPaintEngine(AllFeatures)
            , m_recorder(recorder)
        {
        }
        bool begin(QPaintDevice *) override { return true; }
        bool end() override { return true; }
        Type type() const override { return User; }
        void updateState(const QPaintEngineState &) override { }
        void drawRects(const QRectF *, int) override { }
        void drawRects(const QRect *, int) override { }
        void drawPath(const QPainterPath &) override { }
        void drawPolygon(const QPointF *, int, PolygonDrawMode) override { }
        void drawPixmap(const QRectF &, const QPixmap &, const QRectF &) override { }
        void drawImage(
            const QRectF &, const QImage &, const QRectF &, Qt::ImageConversionFlags) override
        {
        }
        void drawTextItem(const QPointF &position, const QTextItem &item) override
        {
            m_recorder.m_texts.append({painter()->transform().map(position), item.text(),
                painter()->pen().color().rgb()});
        }

    private:
        PaintRecorder &m_recorder;
    };

    QSize m_size;
    QList<Text> m_texts;
    mutable Engine m_engine;
};
