#include "memactions.h"

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QTest>

namespace {

/// The entries of a menu that a user would see: texts, "|" for separators.
QString Entries(const QMenu &menu)
{
    QStringList entries;
    for (const QAction *action : menu.actions()) {
        if (action->isSeparator())
            entries << "|";
        else if (action->isVisible())
            entries << action->text();
    }
    return entries.join(u' ');
}

/// Share of the area that is painted, and the mean red of what is.
std::pair<double, int> InkOf(const QImage &image)
{
    double alpha = 0;
    double red = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            alpha += pixel.alphaF();
            red += pixel.redF() * pixel.alphaF();
        }
    }
    return {alpha / (image.width() * image.height()), int(255 * red / std::max(alpha, 0.01))};
}

} // namespace

class MemActionsTest : public QObject {
    Q_OBJECT

private slots:
    void theContextMenuHoldsWhatIsOffered()
    {
        QMainWindow window;
        MemActions actions(&window);
        QMenu full;
        actions.FillContextMenu(full, [](QMenu *menu) { menu->addMenu("Memory &Zone"); });
        QCOMPARE(Entries(full),
            "&Copy Copy &Special | &View Data | Display &1 Byte Items Display &2 Byte Items "
            "Display &4 Byte Items Access 1 Byte Items Access 2 Byte Items Access 4 Byte Items "
            "Set access width automatically Memory &Zone | &Fill &Load Sav&e | &Go Back &Go To... "
            "Periodic &Refresh... | &Toolbar");
        QCOMPARE(Entries(*full.actions().at(1)->menu()),
            "Copy &Text Copy &Hex Copy Hex As C &Initializer Copy &Binary");
        QVERIFY(full.actions().at(1)->menu()->isEnabled());

        actions.ShowAccessWidths(false);
        actions[MemAction::Load]->setVisible(false);
        actions[MemAction::GoBack]->setEnabled(false);
        actions[MemAction::Copy]->setEnabled(false);
        QMenu bare;
        actions.FillContextMenu(bare, [](QMenu *) {});
        QCOMPARE(Entries(bare),
            "&Copy Copy &Special | &View Data | Display &1 Byte Items Display &2 Byte Items "
            "Display &4 Byte Items | &Fill Sav&e | &Go To... Periodic &Refresh... | &Toolbar");
        QVERIFY(!bare.actions().at(1)->menu()->isEnabled());
    }

    void everyIconIsDrawnInTheTextColour()
    {
        for (const int grey : {0, 255}) {
            QPalette palette;
            palette.setColor(QPalette::ButtonText, QColor(grey, grey, grey));
            QApplication::setPalette(palette);
            QMainWindow window;
            const MemActions actions(&window);
            QList<QImage> pictures;
            for (const QAction *action : window.actions()) {
                for (const qreal scale : {2.0, 1.5, 1.0}) {
                    const QImage picture = action->icon().pixmap(QSize(16, 16), scale).toImage();
                    QCOMPARE(picture.size(), QSize(16, 16) * scale); // not blown up
                    const auto [coverage, red] = InkOf(picture);
                    QVERIFY2(coverage > 0.08 && coverage < 0.7, qPrintable(action->objectName()));
                    QVERIFY2(std::abs(red - grey) <= 2, qPrintable(action->objectName()));
                    if (scale == 1.0) {
                        QVERIFY2(!pictures.contains(picture), qPrintable(action->objectName()));
                        pictures << picture;
                    }
                }
            }
        }
    }
};

QTEST_MAIN(MemActionsTest)
#include "tst_memactions.moc"
