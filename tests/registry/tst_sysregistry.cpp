#include "sysregistry.h"

#include "testfile.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>

namespace {

constexpr char kEmpty[] = "<Registry>\r\n</Registry>";

/// A value as it comes back, or the result when that is no success.
struct Value {
    int result = SYS_REG_OK;
    std::uint32_t type = 0;
    QByteArray data;
};

Value Query(SYS_REG_KEY key, const char *name, std::uint32_t room = 100'000)
{
    Value value;
    value.data.resize(room);
    std::uint32_t size = room;
    value.result = SYS_RegQueryValue(key, name, &value.type, value.data.data(), &size);
    value.data.resize(value.result == SYS_REG_OK ? size : 0);
    return value;
}

int Set(SYS_REG_KEY key, const char *name, std::uint32_t type, const QByteArray &data)
{
    return SYS_RegSetValue(
        key, name, type, data.constData(), static_cast<std::uint32_t>(data.size()));
}

} // namespace

class SysRegistryTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_path = m_home->filePath(".config/TOLVEN/TOLVEN_REG_HKEY_CURRENT_USER.xml");
        qputenv("HOME", m_home->path().toUtf8());
        SYS_RegRelease();
    }

    void filesAreMadeWithTheirGivenText()
    {
        for (const SYS_REG_KEY root :
            {SYS_REG_CLASSES_ROOT, SYS_REG_CURRENT_USER, SYS_REG_LOCAL_MACHINE})
            QCOMPARE(Query(root, "None").result, SYS_REG_ERROR);
        const QStringList expected = {"TOLVEN_REG_HKEY_CLASSES_ROOT.xml",
            "TOLVEN_REG_HKEY_CURRENT_USER.xml", "TOLVEN_REG_HKEY_LOCAL_MACHINE.xml"};
        QCOMPARE(FileNames(m_home->filePath(".config/TOLVEN")), expected);
        QCOMPARE(Content(), kEmpty);

        Put(""); // as good as missing
        QCOMPARE(Query(SYS_REG_CURRENT_USER, "None").result, SYS_REG_ERROR);
        QCOMPARE(Content(), kEmpty);
    }

    void valuesOfEveryTypeComeBack()
    {
        QByteArray everyByte;
        for (int byte = 1; byte < 256; ++byte)
            everyByte += static_cast<char>(byte);
        const QByteArray end(1, '\0');
        const std::pair<std::uint32_t, QByteArray> values[]
            = {{SYS_REG_TYPE_SZ, end}, {SYS_REG_TYPE_SZ, "\r\na\rb\nc\r\n" + end},
                {SYS_REG_TYPE_SZ, " \t " + end}, {SYS_REG_TYPE_SZ, everyByte + end},
                {SYS_REG_TYPE_EXPAND_SZ, "</Registry><a b='\"'>&lt;]]>&#1;\xE2\x82\xAC" + end},
                {SYS_REG_TYPE_BINARY, ""}, {SYS_REG_TYPE_BINARY, end + everyByte + end},
                {SYS_REG_TYPE_DWORD, QByteArray("\x04\xF3\x02\x01", 4)},
                {SYS_REG_TYPE_QWORD, QByteArray("\x08\x07\x06\x05\x04\x03\x02\xF1", 8)},
                {SYS_REG_TYPE_MULTI_SZ, "one" + end + "two & \r" + end + "three" + end + end},
                {SYS_REG_TYPE_MULTI_SZ, "one" + end + end}, // over the longer list
                {SYS_REG_TYPE_MULTI_SZ, end + end}};
        for (const auto &[type, data] : values) {
            SYS_REG_KEY key = 0;
            SYS_REG_KEY child = 0; // has the name of a value
            QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "Software\\Pelimo", &key), SYS_REG_OK);
            QCOMPARE(Set(key, "Name", type, data), SYS_REG_OK);
            QCOMPARE(SYS_RegCreateKey(key, "Name", &child), SYS_REG_OK);
            QCOMPARE(Set(child, "Other", type, data), SYS_REG_OK);
            for (const bool reloaded : {false, true}) {
                if (reloaded) {
                    SYS_RegRelease();
                    SYS_RegCreateKey(SYS_REG_CURRENT_USER, "Software\\Pelimo", &key);
                }
                const Value value = Query(key, "  Name");
                QCOMPARE(value.result, SYS_REG_OK);
                QCOMPARE(value.type, type);
                QCOMPARE(value.data, data);
            }
        }
    }

    void elementsHaveTheirGivenForm()
    {
        SYS_REG_KEY key = 0;
        QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "A\\B", &key), SYS_REG_OK);
        QCOMPARE(Content(), "<Registry>\r\n<A><B/></A></Registry>");
        QCOMPARE(Set(key, "D", SYS_REG_TYPE_DWORD, QByteArray("\x2A\0\0\0", 4)), SYS_REG_OK);
        QCOMPARE(
            Set(key, "Q", SYS_REG_TYPE_QWORD, QByteArray("\1\0\0\0\xEF\0\0\0", 8)), SYS_REG_OK);
        QCOMPARE(Set(key, "M", SYS_REG_TYPE_MULTI_SZ, QByteArray("x\0y\0\0", 5)), SYS_REG_OK);
        QCOMPARE(Content(),
            "<Registry>\r\n<A><B>"
            "<D>0x0000002A</D><D_TOLVENRegType>SYS_REG_TYPE_DWORD</D_TOLVENRegType>"
            "<Q>0x000000EF00000001</Q><Q_TOLVENRegType>SYS_REG_TYPE_QWORD</Q_TOLVENRegType>"
            "<M>x</M><M_TOLVENRegType>SYS_REG_TYPE_MULTI_SZ</M_TOLVENRegType>"
            "<M_TOLVENRegMltStr1>y</M_TOLVENRegMltStr1></B></A></Registry>");
        for (const char *const damaged : {"<D>0x123456789</D><D_TOLVENRegType>SYS_REG_TYPE_DWORD",
                 "<D>42</D><D_TOLVENRegType>SYS_REG_TYPE_DWORD",
                 "<D>0x1</D><D_TOLVENRegType>DWORD"}) {
            Put(QByteArray("<Registry>") + damaged + "</D_TOLVENRegType></Registry>");
            QCOMPARE(Query(SYS_REG_CURRENT_USER, "D").result, SYS_REG_ERROR);
        }
    }

    void smallBuffersLearnTheNeededSize()
    {
        const SYS_REG_KEY key = SYS_REG_CURRENT_USER;
        QCOMPARE(Set(key, "S", SYS_REG_TYPE_SZ, "text"), SYS_REG_OK);
        QCOMPARE(Set(key, "L", SYS_REG_TYPE_MULTI_SZ, QByteArray("a\0b\0\0", 5)), SYS_REG_OK);
        for (const char *name : {"S", "L"}) {
            std::array<char, 5> buffer = {'#', '#', '#', '#', '#'};
            std::uint32_t size = 4;
            QCOMPARE(
                SYS_RegQueryValue(key, name, nullptr, buffer.data(), &size), SYS_REG_MORE_DATA);
            QCOMPARE(size, 5U);
            QCOMPARE(buffer[0], '#');
            QCOMPARE(SYS_RegQueryValue(key, name, nullptr, buffer.data(), &size), SYS_REG_OK);
        }
        std::uint32_t type = 0;
        QCOMPARE(SYS_RegQueryValue(key, "L", &type, nullptr, nullptr), SYS_REG_OK);
        QCOMPARE(type, SYS_REG_TYPE_MULTI_SZ);
    }

    void illegalNamesAreRefused()
    {
        SYS_REG_KEY key = 0;
        QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "K", &key), SYS_REG_OK);
        for (const char *const legal : {"Name-1.x_", "gr\xC3\xB6\xC3\x9F\x65"}) {
            QCOMPARE(Set(key, legal, SYS_REG_TYPE_SZ, "x"), SYS_REG_OK);
            QCOMPARE(Query(key, legal).result, SYS_REG_OK);
        }
        const QByteArray before = Content();
        for (const QByteArray &illegal :
            QByteArrayList{"", "   ", "1st", "-x", "a b", "a\tb", "a<b", "a/b",
                "a\\b", // a path where a name is wanted
                "a&amp;", "cut \xC3", "cut\xC3", "long\xC0\xAFslash", "long\xE0\x81\x81",
                "\xC3\x97", // the multiplication sign is no letter
                "X_TOLVENRegType", "X_TOLVENRegMltStr1"}
                + QByteArrayList{QByteArray(10'000, 'n')}) {
            QVERIFY2(Set(key, illegal, SYS_REG_TYPE_SZ, "x") == SYS_REG_ERROR, illegal);
            QVERIFY2(Query(key, illegal).result == SYS_REG_ERROR, illegal);
        }
        QCOMPARE(Content(), before);
    }

    void keysNestAndAreChecked()
    {
        SYS_REG_KEY outer = 0;
        SYS_REG_KEY inner = 0;
        SYS_REG_KEY same = 0;
        QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "A", &outer), SYS_REG_OK);
        QCOMPARE(SYS_RegCreateKey(outer, "\\B\\\\C\\", &inner), SYS_REG_OK);
        QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "A\\B\\C", &same), SYS_REG_OK);
        QCOMPARE(Set(inner, "V", SYS_REG_TYPE_SZ, "x"), SYS_REG_OK);
        QCOMPARE(Query(same, "V").data, QByteArray("x\0", 2));
        const QByteArray before = Content();

        QCOMPARE(SYS_RegCreateKey(outer, "B\\1", &same), SYS_REG_ERROR);
        QCOMPARE(SYS_RegCreateKey(outer, QByteArray("a\\").repeated(100), &same), SYS_REG_ERROR);
        QCOMPARE(SYS_RegCloseKey(inner), SYS_REG_OK);
        for (const SYS_REG_KEY wrong : {inner, SYS_REG_KEY{0}, SYS_REG_LOCAL_MACHINE + 1,
                 SYS_REG_LAST_ROOT, SYS_REG_KEY{12345}}) {
            QCOMPARE(SYS_RegCreateKey(wrong, "X", &same), SYS_REG_ERROR);
            QCOMPARE(Set(wrong, "V", SYS_REG_TYPE_SZ, "x"), SYS_REG_ERROR);
            QCOMPARE(Query(wrong, "V").result, SYS_REG_ERROR);
        }
        QCOMPARE(SYS_RegCloseKey(inner), SYS_REG_ERROR);
        QCOMPARE(SYS_RegCloseKey(0), SYS_REG_OK);
        QCOMPARE(SYS_RegCloseKey(SYS_REG_LAST_ROOT), SYS_REG_OK);
        QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_DWORD, "xyz"), SYS_REG_ERROR);
        QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", 5, "xyz"), SYS_REG_ERROR);
        QCOMPARE(Content(), before);
    }

    void damagedFilesAreLeftAlone()
    {
        const QByteArray deep = "<Registry>" + QByteArray("<a>").repeated(100'000)
            + QByteArray("</a>").repeated(100'000) + "</Registry>";
        const QByteArray large = "<Registry>" + QByteArray(5 << 20, ' ') + "</Registry>";
        for (const QByteArray &content : {QByteArray("  \r\n"), QByteArray("<Registry><A><V>x</V>"),
                 QByteArray("<Registry><A></B></Registry>"), QByteArray("<Reg></Reg>"),
                 QByteArray(4096, '\0'), QByteArray("\x7F\x45LF\x02\x01"), deep, large}) {
            Put(content);
            SYS_REG_KEY key = 0;
            QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "A", &key), SYS_REG_ERROR);
            QCOMPARE(Query(SYS_REG_CURRENT_USER, "V").result, SYS_REG_ERROR);
            QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_SZ, "x"), SYS_REG_ERROR);
            QCOMPARE(Content(), content);
        }
    }

    void foreignContentSurvivesAChange()
    {
        const QByteArray head = "<!DOCTYPE Registry [<!ENTITY a \"b\">]><!-- by hand -->"
                                "<Registry a=\"1\">\r\n  <Other><![CDATA[<x>]]>&amp; <y/></Other>"
                                "\r\n  <!-- kept -->\r\n";
        Put(head + "</Registry>\n");
        QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_SZ, "x"), SYS_REG_OK);
        const QByteArray expected
            = head + "<V>x</V><V_TOLVENRegType>SYS_REG_TYPE_SZ</V_TOLVENRegType></Registry>";
        QCOMPARE(Content(), expected);
    }

    void whatCannotBeSavedIsNotRemembered()
    {
        QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_SZ, "old"), SYS_REG_OK);
        const QByteArray before = Content();
        chmod(m_path.toUtf8().constData(), 0444);
        SYS_REG_KEY key = 0;
        QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_SZ, "new"), SYS_REG_ERROR);
        QCOMPARE(SYS_RegCreateKey(SYS_REG_CURRENT_USER, "K", &key), SYS_REG_ERROR);
        QCOMPARE(Query(SYS_REG_CURRENT_USER, "V").data, QByteArray("old\0", 4));
        chmod(m_path.toUtf8().constData(), 0644);
        const QByteArray large(5 << 20, 'x');
        QCOMPARE(Set(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_SZ, large), SYS_REG_ERROR);
        QCOMPARE(Query(SYS_REG_CURRENT_USER, "V").data, QByteArray("old\0", 4));
        QCOMPARE(Content(), before);
    }

private:
    void Put(const QByteArray &content)
    {
        QDir().mkpath(m_home->filePath(".config/TOLVEN"));
        PutFile(m_path, content);
        SYS_RegRelease();
    }
    [[nodiscard]] QByteArray Content() const { return FileContent(m_path); }

    std::unique_ptr<QTemporaryDir> m_home;
    QString m_path; // of the current user's file
};

QTEST_GUILESS_MAIN(SysRegistryTest)
#include "tst_sysregistry.moc"
