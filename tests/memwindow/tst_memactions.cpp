#include "memactions.h"
#include "memicon.h"

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QMainWindow>
#include <QMenu>
#include <QPixmap>
#include <QTest>
#include <QToolBar>

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

/// Share of the area that is painted, and the darkest-to-lightest mean of what is.
QColor InkOf(const QPixmap &picture, double *coverage)
{
    const QImage image = picture.toImage().convertToFormat(QImage::Format_ARGB32);
    double alpha = 0;
    double red = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            alpha += pixel.alphaF();
            red += pixel.redF() * pixel.alphaF();
        }
    }
    *coverage = alpha / (image.width() * image.height());
    const int mean = alpha > 0 ? static_cast<int>(255 * red / alpha) : -1;
    return {mean, mean, mean};
}

} // namespace

class MemActionsTest : public QObject {
    Q_OBJECT

private slots:
    void everyActionHasAFixedNameAndShortcut();
    void oneSizeOfEachKindIsChecked();
    void theContextMenuHoldsWhatIsOffered();
    void everyIconIsDrawnInTheTextColour_data();
    void everyIconIsDrawnInTheTextColour();
};

void MemActionsTest::everyActionHasAFixedNameAndShortcut()
{
    // Scripts find the actions by these names, in this order, and users know the shortcuts.
    const QStringList expected = {"View1ByteItems Ctrl+1", "View2ByteItems Ctrl+2",
        "View4ByteItems Ctrl+3", "Access1ByteItems ", "Access2ByteItems ", "Access4ByteItems ",
        "AccessAuto ", "Fill Ctrl+I", "Load ", "Save ", "Goto Ctrl+G", "AutoRefresh Ctrl+R",
        "ShowToolbar ", "Copy Ctrl+C", "Paste Ctrl+V", "CopyText ", "CopyHex ", "CopyBinary ",
        "CopyIntList ", "GoBack Alt+Left", "ViewData Ctrl+D"};
    QMainWindow window;
    const MemActions actions(&window);
    QStringList found;
    for (const QAction *action : window.actions()) {
        found << action->objectName().remove(QLatin1String("pActionMemory")) + u' '
                + action->shortcut().toString();
        const bool isCopy = action == actions[MemAction::Copy];
        QCOMPARE(action->shortcutContext(),
            isCopy ? Qt::WindowShortcut : Qt::WidgetWithChildrenShortcut);
    }
    QCOMPARE(found, expected);
    QCOMPARE(actions[MemAction::ViewData]->objectName(), "pActionMemoryViewData");
}

void MemActionsTest::oneSizeOfEachKindIsChecked()
{
    QMainWindow window;
    MemActions actions(&window);
    QCOMPARE(int{actions.CheckedBytesPerItem()}, 1);
    actions[MemAction::View4ByteItems]->trigger();
    QCOMPARE(int{actions.CheckedBytesPerItem()}, 4);
    QVERIFY(!actions[MemAction::View1ByteItems]->isChecked());
    actions.CheckBytesPerItem(2);
    QCOMPARE(int{actions.CheckedBytesPerItem()}, 2);
    actions.CheckBytesPerItem(3);
    QCOMPARE(int{actions.CheckedBytesPerItem()}, 2);

    QCOMPARE(int{actions.CheckedAccessWidth()}, 1);
    actions.CheckAccessWidth(0);
    QVERIFY(actions[MemAction::AccessAuto]->isChecked());
    QCOMPARE(int{actions.CheckedAccessWidth()}, 0);
    QCOMPARE(int{actions.CheckedBytesPerItem()}, 2); // the two kinds do not disturb each other
}

void MemActionsTest::theContextMenuHoldsWhatIsOffered()
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
    const QMenu *special = full.actions().at(1)->menu();
    QCOMPARE(Entries(*special), "Copy &Text Copy &Hex Copy Hex As C &Initializer Copy &Binary");
    QVERIFY(special->isEnabled());

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

void MemActionsTest::everyIconIsDrawnInTheTextColour_data()
{
    QTest::addColumn<QColor>("text");
    QTest::newRow("light palette") << QColor(Qt::black);
    QTest::newRow("dark palette") << QColor(Qt::white);
}

void MemActionsTest::everyIconIsDrawnInTheTextColour()
{
    QFETCH(QColor, text);
    QPalette palette;
    palette.setColor(QPalette::ButtonText, text);
    QApplication::setPalette(palette);
    QMainWindow window;
    const MemActions actions(&window);
    QList<QImage> pictures;
    for (const QAction *action : window.actions()) {
        for (const qreal scale : {1.0, 1.5, 2.0}) {
            const QPixmap picture = action->icon().pixmap(QSize(16, 16), scale);
            QCOMPARE(picture.size(), QSize(16, 16) * scale); // drawn for the scale, not blown up
            double coverage = 0;
            const QColor ink = InkOf(picture, &coverage);
            QVERIFY2(coverage > 0.08 && coverage < 0.7, qPrintable(action->objectName()));
            QVERIFY2(qAbs(ink.red() - text.red()) <= 2, qPrintable(action->objectName()));
        }
        const QImage picture = action->icon().pixmap(16).toImage();
        QVERIFY2(!pictures.contains(picture), qPrintable(action->objectName())); // all differ
        pictures << picture;
    }
}

QTEST_MAIN(MemActionsTest)
#include "tst_memactions.moc"
