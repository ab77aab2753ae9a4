#include "aboutdialog.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <string>

class AboutDialogTest : public QObject {
    Q_OBJECT

private slots:
    void itShowsTitleStampAndNotice()
    {
        AboutDialog dialog("TOLVEN Pelimo V6.54a");
        QVERIFY(dialog.isVisible() && dialog.isModal());
        QCOMPARE(dialog.windowTitle(), "About");
        QVERIFY(TextOf(dialog, "pLabelTitle")
                    .startsWith("TOLVEN Pelimo V6.54a\nCompiled: 17:37:36 Oct 31 2019\n"));
        const QStringList notice = TextOf(dialog, "pLabelLicence").split('\n');
        QCOMPARE(notice.mid(1, 3),
            QStringList({"", "The GUI of this software uses Qt4 which is under LGPLv21",
                "Add. 3rd party licensing and source code of Qt4:"}));
        QVERIFY(!dialog.findChild<QLabel *>("pLabelLogo")->pixmap(Qt::ReturnByValue).isNull());
    }

    void itCannotBeResizedOrIconified()
    {
        AboutDialog dialog("T");
        QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
        const Qt::WindowFlags flags = dialog.windowFlags();
        QVERIFY(flags & Qt::FramelessWindowHint);
        QVERIFY(flags & Qt::WindowStaysOnTopHint);
        QVERIFY(!(flags & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint)));
    }

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
