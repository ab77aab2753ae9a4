#include "addresshistory.h"

#include <QTest>

class AddressHistoryTest : public QObject {
    Q_OBJECT

private slots:
    void onlyHexadecimalNumbersAreAddresses_data();
    void onlyHexadecimalNumbersAreAddresses();
    void textsAreNormalised_data();
    void textsAreNormalised();
    void theBoxKeepsTenTextsLatestFirst();
    void aListFromTheStoreIsBroughtIntoForm();
    void theBackStackHoldsNoAddressTwiceInARow();
};

void AddressHistoryTest::onlyHexadecimalNumbersAreAddresses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<quint64>("address");
    QTest::newRow("plain") << "20000a00" << true << quint64{0x20000A00};
    QTest::newRow("lower-case prefix") << "0xfF" << true << quint64{0xFF};
    QTest::newRow("upper-case prefix") << "0X1f" << true << quint64{0x1F};
    QTest::newRow("more than 32 bits") << "123456789" << true << quint64{0x123456789};
    QTest::newRow("64 bits") << "FFFFFFFFFFFFFFFF" << true << ~quint64{0};
    QTest::newRow("leading zeros in plenty") << "00000000000000000000001" << true << quint64{1};
    for (const char *bad : {"", "0x", "x1", "0x0x1", "-1", "+1", " 1", "1 ", "1 2", "12h", "1.0",
             "main+4", "10000000000000000", "\xEF\xBC\x91"})
        QTest::addRow("'%s'", bad) << QString::fromUtf8(bad) << false << quint64{0};
}

void AddressHistoryTest::onlyHexadecimalNumbersAreAddresses()
{
    QFETCH(QString, text);
    QFETCH(bool, accepted);
    QFETCH(quint64, address);
    std::uint64_t parsed = 77;
    std::uint64_t size = 77;
    QCOMPARE(ParseAddress(text, parsed, size), accepted);
    QCOMPARE(quint64{parsed}, address);
    QCOMPARE(quint64{size}, quint64{0});
}

void AddressHistoryTest::textsAreNormalised_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("normalised");
    QTest::newRow("digits") << "20000a00"
                            << "20000A00";
    QTest::newRow("prefix stays") << "0x20000a00"
                                  << "0x20000A00";
    QTest::newRow("upper-case prefix is not told apart") << "0X1f"
                                                         << "0X1F";
    QTest::newRow("nine digits") << "12345678a"
                                 << "12345678a";
    QTest::newRow("no number") << "main"
                               << "main";
}

void AddressHistoryTest::textsAreNormalised()
{
    QFETCH(QString, text);
    NormaliseAddressText(text);
    QTEST(text, "normalised");
}

void AddressHistoryTest::theBoxKeepsTenTextsLatestFirst()
{
    QStringList items;
    for (int i = 0; i < 11; ++i)
        items = WithAddressBoxText(items, QString::number(i));
    QCOMPARE(items.join(u' '), "10 9 8 7 6 5 4 3 2 1");
    items = WithAddressBoxText(items, "4");
    QCOMPARE(items.join(u' '), "4 10 9 8 7 6 5 3 2 1");
    items = WithAddressBoxText(items, "a");
    QCOMPARE(items.join(u' '), "a 4 10 9 8 7 6 5 3 2");
    QCOMPARE(WithAddressBoxText(items, "A").first(), "A"); // texts of different case are two
    QVERIFY(WithAddressBoxText(items, "A").contains("a"));
}

void AddressHistoryTest::aListFromTheStoreIsBroughtIntoForm()
{
    QStringList stored = {"0x1a", "", "0x1A", "main"};
    for (int i = 0; i < 1000; ++i)
        stored << QString(5000, u'9') + QString::number(i);
    const QStringList items = SoundAddressBoxItems(stored);
    QCOMPARE(items.first(3).join(u' ').left(12), "0x1A main 99");
    QVERIFY(items.size() <= kMaxAddressBoxItems);
    QVERIFY(items.last().size() < 1000);
}

void AddressHistoryTest::theBackStackHoldsNoAddressTwiceInARow()
{
    AddressHistory history;
    for (const std::uint64_t address : {1U, 2U, 2U, 1U, 1U})
        history.PushBack(address);
    QCOMPARE(history.TakeLatest().value(), 1U);
    QCOMPARE(history.TakeLatest().value(), 2U);
    QCOMPARE(history.TakeLatest().value(), 1U);
    QVERIFY(history.IsEmpty());
    QVERIFY(!history.TakeLatest());
}

QTEST_GUILESS_MAIN(AddressHistoryTest)
#include "tst_addresshistory.moc"
