#pragma once

#include <QtWidgets>

/// An image that stays empty and notes the texts drawn on it.
class PaintRecorder : public QImage {
public:
    struct Text {
        QPointF baseline;
        QString text;
        QRgb colour;
    };

    /// The texts that a widget draws, in order.
    static QList<Text> Record(QWidget &widget)
    {
        PaintRecorder recorder(widget.size(), QImage::Format_ARGB32);
        widget.render(&recorder);
        return recorder.m_engine.texts;
    }

    QPaintEngine *paintEngine() const override { return &m_engine; }

private:
    class Engine : public QPaintEngine {
    public:
        using QPaintEngine::QPaintEngine;
        bool begin(QPaintDevice *) override { return true; }
        bool end() override { return true; }
        Type type() const override { return User; }
        void updateState(const QPaintEngineState &) override { }
        void drawPath(const QPainterPath &) override { }
        void drawPolygon(const QPointF *, int, PolygonDrawMode) override { }
        void drawPixmap(const QRectF &, const QPixmap &, const QRectF &) override { }
        void drawTextItem(const QPointF &position, const QTextItem &item) override
        {
            texts.append({painter()->transform().map(position), item.text(),
                painter()->pen().color().rgb()});
        }

        QList<Text> texts;
    };

    using QImage::QImage;

    mutable Engine m_engine{QPaintEngine::AllFeatures};
};
