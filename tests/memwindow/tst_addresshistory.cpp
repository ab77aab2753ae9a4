#include "addresshistory.h"

#include <QTest>

class AddressHistoryTest : public QObject {
    Q_OBJECT

private slots:
    void onlyHexadecimalNumbersAreAddresses()
    {
        std::uint64_t address = 77;
        std::uint64_t size = 77;
        const std::pair<const char *, std::uint64_t> good[]
            = {{"20000a00", 0x20000A00}, {"0xfF", 0xFF}, {"0X1f", 0x1F}, {"123456789", 0x123456789},
                {"FFFFFFFFFFFFFFFF", ~0ULL}, {"00000000000000000000001", 1}};
        for (const auto &[text, value] : good) {
            QVERIFY2(ParseAddress(text, address, size), text);
            QCOMPARE(address, value);
            QCOMPARE(size, 0U);
        }
        for (const char *bad : {"", "0x", "x1", "0x0x1", "-1", "+1", " 1", "1 ", "1 2", "12h",
                 "1.0", "main+4", "10000000000000000", "\xEF\xBC\x91"}) {
            QVERIFY2(!ParseAddress(QString::fromUtf8(bad), address, size), bad);
            QCOMPARE(address, 0U);
        }
    }

    void textsAreNormalised()
    {
        const std::pair<const char *, const char *> texts[] = {{"20000a00", "20000A00"},
            {"0x20000a00", "0x20000A00"}, {"0X1f", "0X1F"}, // not told apart from a digit
            {"12345678a", "12345678a"}, {"main", "main"}};
        for (const auto &[typed, normalised] : texts) {
            QString text = typed;
            NormaliseAddressText(text);
            QCOMPARE(text, normalised);
        }
    }

    void aListFromTheStoreIsBroughtIntoForm()
    {
        QStringList stored = {"0x1a", "", "0x1A", "main"};
        for (int i = 0; i < 1000; ++i)
            stored << QString::number(i) + QString(5000, u'9');
        const QStringList items = SoundAddressBoxItems(stored);
        QCOMPARE(items.first(3).join(u' ').left(14), "0x1A main 0999");
        QCOMPARE(items.size(), kMaxAddressBoxItems);
        QVERIFY(items.last().size() < 1000);
    }
};

QTEST_GUILESS_MAIN(AddressHistoryTest)
#include "tst_addresshistory.moc"
