#pragma once

#include <QMdiArea>
#include <QPixmap>

/// Encoded image bytes kept elsewhere for as long as the area lives.
struct ImageReference {
    const uchar *data = nullptr;
    int size = 0;                 ///< bytes
    const char *format = nullptr; ///< "PNG"
};

/// The multiple-document area of the main window: an empty one shows the logo in its middle.
class CustMDIArea : public QMdiArea {
    Q_OBJECT

public:
    /// @param image  may be empty; then nothing is drawn
    explicit CustMDIArea(const ImageReference &image, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    ImageReference m_image;
    QPixmap m_pixmap; ///< the decoded image; decoded at the first paint that needs it
};
