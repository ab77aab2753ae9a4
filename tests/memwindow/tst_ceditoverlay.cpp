#include "ceditoverlay.h"

#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>

class EditOverlayTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void typingOverwritesDigitByDigit();
    void aDigitBehindTheLastEndsTheEditAndIsHandedOn();
    void keysThatEndTheEdit_data();
    void keysThatEndTheEdit();
    void hidingEndsNothing();
    void erasingKeepsEveryDigitInItsPlace();
    void anItemThatWasNotReadStartsFromTheTypedDigits();

private:
    void OpenWith(const QString &text, int caret)
    {
        m_overlay->SetDigits(static_cast<int>(text.size()));
        m_overlay->SetEditText(text, caret);
        m_overlay->Open(7);
        QVERIFY(m_overlay->hasFocus());
    }

    std::unique_ptr<QPlainTextEdit> m_view;
    CEditOverlay *m_overlay = nullptr;
};

void EditOverlayTest::init()
{
    m_view = std::make_unique<QPlainTextEdit>();
    m_overlay = new CEditOverlay(m_view.get());
    m_view->show();
    m_view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
    QVERIFY(!m_overlay->isVisible());
}

void EditOverlayTest::typingOverwritesDigitByDigit()
{
    OpenWith("12345678", 1);
    QCOMPARE(m_overlay->inputMask().section(u';', 0, 0), "HHHHHHHH");
    QCOMPARE(m_overlay->Tag(), 7);
    QTest::keyClicks(m_overlay, "ag f"); // neither a letter past F nor a blank is a digit
    QCOMPARE(m_overlay->text(), "1AF45678");
    QCOMPARE(m_overlay->Value(), 0x1AF45678);
    OpenWith("FFFFFFFF", 8);
    QCOMPARE(m_overlay->Value(), 0xFFFFFFFF);
}

void EditOverlayTest::aDigitBehindTheLastEndsTheEditAndIsHandedOn()
{
    OpenWith("12", 1);
    QSignalSpy closed(m_overlay, &CEditOverlay::Closed);
    QTest::keyClicks(m_overlay, "Ag");
    QCOMPARE(closed.count(), 0);
    QTest::keyClicks(m_overlay, "b");
    QCOMPARE(closed.count(), 1);
    QCOMPARE(m_overlay->Value(), 0x1A);
    QCOMPARE(m_overlay->Rest(), "b");
}

void EditOverlayTest::keysThatEndTheEdit_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<qint64>("value");
    QTest::newRow("Return") << int(Qt::Key_Return) << qint64{0xA2};
    QTest::newRow("Enter") << int(Qt::Key_Enter) << qint64{0xA2};
    QTest::newRow("Tab") << int(Qt::Key_Tab) << qint64{0xA2};
    QTest::newRow("Down") << int(Qt::Key_Down) << qint64{0xA2};
    QTest::newRow("Page Up") << int(Qt::Key_PageUp) << qint64{0xA2};
    QTest::newRow("Escape drops it") << int(Qt::Key_Escape) << qint64{-1};
    QTest::newRow("lost focus") << 0 << qint64{0xA2};
}

void EditOverlayTest::keysThatEndTheEdit()
{
    QFETCH(int, key);
    OpenWith("12", 0);
    QTest::keyClicks(m_overlay, "A");
    QSignalSpy closed(m_overlay, &CEditOverlay::Closed);
    if (key != 0)
        QTest::keyClick(m_overlay, static_cast<Qt::Key>(key));
    else
        m_view->setFocus();
    QCOMPARE(closed.count(), 1);
    QTEST(qint64{m_overlay->Value()}, "value");
    QCOMPARE(m_overlay->Rest(), "");
    m_overlay->HideOverlay(); // what a host does next must not end the edit once more
    QCOMPARE(closed.count(), 1);
    QVERIFY(m_view->hasFocus());
}

void EditOverlayTest::hidingEndsNothing()
{
    OpenWith("12", 0);
    QTest::keyClicks(m_overlay, "A");
    QSignalSpy closed(m_overlay, &CEditOverlay::Closed);
    m_overlay->HideOverlay();
    QVERIFY(!m_overlay->isVisible());
    QVERIFY(m_view->hasFocus());
    QCOMPARE(closed.count(), 0);
}

void EditOverlayTest::erasingKeepsEveryDigitInItsPlace()
{
    OpenWith("1234", 2);
    QTest::keyClick(m_overlay, Qt::Key_Backspace);
    QCOMPARE(m_overlay->text(), "1034");
    QCOMPARE(m_overlay->cursorPosition(), 1);
    QTest::keyClick(m_overlay, Qt::Key_Delete);
    QTest::keyClick(m_overlay, Qt::Key_Backspace);
    QTest::keyClick(m_overlay, Qt::Key_Backspace); // nothing is left of the first digit
    QCOMPARE(m_overlay->text(), "0034");

    OpenWith("1234", 0);
    m_overlay->setSelection(1, 2);
    QTest::keyClick(m_overlay, Qt::Key_Delete);
    QCOMPARE(m_overlay->text(), "1004");
    m_overlay->setSelection(1, 2);
    QTest::keyClicks(m_overlay, "F"); // replaces two digits by one
    QCOMPARE(m_overlay->Value(), 0x1F04);
}

void EditOverlayTest::anItemThatWasNotReadStartsFromTheTypedDigits()
{
    m_overlay->SetDigits(4);
    m_overlay->SetEditText("A", 1);
    m_overlay->Open(0);
    QCOMPARE(m_overlay->Value(), 0xA);
    QTest::keyClicks(m_overlay, "b");
    QCOMPARE(m_overlay->Value(), 0xAB);
    QSignalSpy closed(m_overlay, &CEditOverlay::Closed);
    QTest::keyClick(m_overlay, Qt::Key_Return); // also with digits missing
    QCOMPARE(closed.count(), 1);
    m_overlay->SetEditText("", 0);
    QCOMPARE(m_overlay->Value(), -1);
}

QTEST_MAIN(EditOverlayTest)
#include "tst_ceditoverlay.moc"
