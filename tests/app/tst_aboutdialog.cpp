#include "aboutdialog.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <string>

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

    void aLongTitleIsCut()
    {
        const std::string title(1000, 'x');
        AboutDialog dialog(title.c_str());
        QCOMPARE(TextOf(dialog, "pLabelTitle"), QString(299, u'x'));
    }

private:
    static QString TextOf(const AboutDialog &dialog, const char *label)
    {
        return dialog.findChild<QLabel *>(label)->text();
    }
};

QTEST_MAIN(AboutDialogTest)
#include "tst_aboutdialog.moc"
