#include "aboutdialog.h"

#include <QPushButton>
#include <QTest>

class AboutDialogTest : public QObject {
    Q_OBJECT

private slots:
    void bothWaysCloseIt()
    {
        AboutDialog byButton("T");
        QTest::mouseClick(byButton.findChild<QPushButton *>(), Qt::LeftButton);
        QVERIFY(!byButton.isVisible());
        AboutDialog bySignal("T");
        emit bySignal._Sig_CloseDlg();
        QVERIFY(bySignal.isVisible()); // closes from the event loop, not inside the emission
        QTRY_VERIFY(!bySignal.isVisible());
    }
};

QTEST_MAIN(AboutDialogTest)
#include "tst_aboutdialog.moc"
