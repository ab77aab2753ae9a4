#include "sysregistry.h"

#include "testfile.h"

#include <QtTest>

#include <sys/stat.h>

namespace {

/// A value's type and data, or nothing.
QByteArray Query(SYS_REG_KEY key, const char *name, std::uint32_t size = 100'000)
{
    QByteArray data(size, '#');
    std::uint32_t type = 0;
    const int result = SYS_RegQueryValue(key, name, &type, data.data(), &size);
    if (result == SYS_REG_MORE_DATA)
        return data.startsWith('#') ? "needs " + QByteArray::number(size) : "spoilt";
    return result == SYS_REG_OK ? QByteArray::number(type) + ' ' + data.left(size) : "";
}

bool Set(SYS_REG_KEY key, const char *name, std::uint32_t type, const QByteArray &data)
{
    const auto size = static_cast<std::uint32_t>(data.size());
    return SYS_RegSetValue(key, name, type, data.constData(), size) == SYS_REG_OK;
}

bool SetText(SYS_REG_KEY key, const char *name, const QByteArray &text = "x")
{
    return Set(key, name, SYS_REG_TYPE_SZ, text);
}

/// A key, made where it is missing; 0 after a failure.
SYS_REG_KEY Key(SYS_REG_KEY parent, const QByteArray &path)
{
    SYS_REG_KEY key = 0;
    return SYS_RegCreateKey(parent, path, &key) == SYS_REG_OK ? key : 0;
}

constexpr SYS_REG_KEY kUser = SYS_REG_CURRENT_USER;

} // namespace

class SysRegistryTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_home.emplace();
        m_path = m_home->filePath(".config/TOLVEN/TOLVEN_REG_HKEY_CURRENT_USER.xml");
        qputenv("HOME", m_home->path().toUtf8());
        SYS_RegRelease();
    }

    void elementsHaveTheirGivenForm()
    {
        QCOMPARE(Query(SYS_REG_CLASSES_ROOT, "None") + Query(SYS_REG_LOCAL_MACHINE, "None"), "");
        QCOMPARE(Query(kUser, "None"), "");
        QCOMPARE(FileNames(m_home->filePath(".config/TOLVEN")).join(' '),
            "TOLVEN_REG_HKEY_CLASSES_ROOT.xml TOLVEN_REG_HKEY_CURRENT_USER.xml "
            "TOLVEN_REG_HKEY_LOCAL_MACHINE.xml");
        QCOMPARE(Content(), "<Registry>\r\n</Registry>");
        const QByteArray foreign = "<!DOCTYPE Registry [<!ENTITY a \"b\">]><!-- by hand -->"
                                   "<Registry a=\"1\">\r\n  <O><![CDATA[<x>]]>&amp; <y/></O>\r\n";
        Put(foreign + "</Registry>\n");
        const SYS_REG_KEY key = Key(kUser, "A\\B");
        QVERIFY(Set(key, "D", SYS_REG_TYPE_DWORD, QByteArray("\x2A\0\0\0", 4)));
        QVERIFY(Set(key, "Q", SYS_REG_TYPE_QWORD, QByteArray("\1\0\0\0\xEF\0\0\0", 8)));
        QVERIFY(Set(key, "M", SYS_REG_TYPE_MULTI_SZ, QByteArray("x\0y\0\0", 5)));
        QCOMPARE(Content(),
            foreign
                + "<A><B><D>0x0000002A</D><D_TOLVENRegType>SYS_REG_TYPE_DWORD</D_TOLVENRegType>"
                  "<Q>0x000000EF00000001</Q><Q_TOLVENRegType>SYS_REG_TYPE_QWORD</Q_TOLVENRegType>"
                  "<M>x</M><M_TOLVENRegType>SYS_REG_TYPE_MULTI_SZ</M_TOLVENRegType>"
                  "<M_TOLVENRegMltStr1>y</M_TOLVENRegMltStr1></B></A></Registry>");
    }

    void valuesOfEveryTypeComeBack()
    {
        const QByteArray end(1, '\0');
        QByteArray everyByte;
        for (int byte = 1; byte < 256; ++byte)
            everyByte += static_cast<char>(byte);
        const auto back = [](std::uint32_t type, const QByteArray &data) {
            const SYS_REG_KEY key = Key(kUser, "Software\\Pelimo");
            const bool isSet = Set(key, "Name", type, data) // beside a key of its name
                && Set(Key(key, "Name"), "Other", type, data);
            const QByteArray expected = QByteArray::number(type) + ' ' + data;
            const bool isThere = isSet && Query(key, "  Name") == expected;
            SYS_RegRelease();
            return isThere && Query(Key(kUser, "Software\\Pelimo"), "Name") == expected;
        };
        QVERIFY(back(SYS_REG_TYPE_SZ, end));
        QVERIFY(back(SYS_REG_TYPE_SZ, " \r\na\rb\nc\r\n" + everyByte + end));
        QVERIFY(back(SYS_REG_TYPE_EXPAND_SZ, "</Registry><a b='\"'>&lt;]]>&#1;\xE2\x82\xAC" + end));
        QVERIFY(back(SYS_REG_TYPE_BINARY, ""));
        QVERIFY(back(SYS_REG_TYPE_BINARY, end + everyByte + end));
        QVERIFY(back(SYS_REG_TYPE_DWORD, QByteArray("\x04\xF3\x02\x01", 4)));
        QVERIFY(back(SYS_REG_TYPE_QWORD, QByteArray("\x08\x07\x06\x05\x04\x03\x02\xF1", 8)));
        QVERIFY(back(SYS_REG_TYPE_MULTI_SZ, "one" + end + "two & \r" + end + "three" + end + end));
        QVERIFY(back(SYS_REG_TYPE_MULTI_SZ, "one" + end + end)); // over the longer list
        QVERIFY(back(SYS_REG_TYPE_MULTI_SZ, end + end));
        QVERIFY(Set(kUser, "S", SYS_REG_TYPE_SZ, "text"));
        QVERIFY(Set(kUser, "L", SYS_REG_TYPE_MULTI_SZ, QByteArray("a\0b\0\0", 5)));
        for (const char *const name : {"S", "L"}) {
            QCOMPARE(Query(kUser, name, 4), "needs 5");
            QCOMPARE(Query(kUser, name, 5).size(), 2 + 5);
        }
    }

    void whatIsWrongIsRefusedAndChangesNothing()
    {
        const SYS_REG_KEY outer = Key(kUser, "A");
        const SYS_REG_KEY inner = Key(outer, "\\B\\\\C\\");
        QVERIFY(SetText(inner, "gr\xC3\xB6\xC3\x9F-1.x_"));
        QCOMPARE(Query(Key(kUser, "A\\B\\C"), "gr\xC3\xB6\xC3\x9F-1.x_").left(3), "1 x");
        QVERIFY(SetText(kUser, "V", "old"));
        const QByteArray before = Content();
        for (const char *const wrong : {"", "  ", "1st", "a b", "a<b", "a\\b", "cut\xC3",
                 "long\xC0\xAFslash", "\xC3\x97", "X_TOLVENRegType", "X_TOLVENRegMltStr1"})
            QVERIFY2(!SetText(inner, wrong) && Query(inner, wrong).isEmpty(), wrong);
        QVERIFY(Key(outer, "B\\1") == 0 && Key(outer, QByteArray("a\\").repeated(100)) == 0);
        QVERIFY(!Set(kUser, "V", SYS_REG_TYPE_DWORD, "xyz") && !Set(kUser, "V", 5, "xyz"));
        QVERIFY(SYS_RegCloseKey(inner) == SYS_REG_OK && SYS_RegCloseKey(inner) == SYS_REG_ERROR);
        QVERIFY(SYS_RegCloseKey(0) == SYS_REG_OK && SYS_RegCloseKey(kUser) == SYS_REG_OK);
        for (const SYS_REG_KEY key : {inner, SYS_REG_KEY{0}, SYS_REG_LOCAL_MACHINE + 1,
                 SYS_REG_LAST_ROOT, SYS_REG_KEY{12345}})
            QVERIFY(Key(key, "X") == 0 && !SetText(key, "V") && Query(key, "V").isEmpty());
        chmod(m_path.toUtf8(), 0444);
        QVERIFY(!SetText(kUser, "V", "new") && Key(kUser, "K") == 0);
        chmod(m_path.toUtf8(), 0644);
        QVERIFY(!SetText(kUser, "V", QByteArray(5 << 20, 'x')));
        QCOMPARE(Query(kUser, "V"), QByteArray("1 old\0", 6));
        QCOMPARE(Content(), before);
    }

    // Shorter ones that are damaged are for the fuzzer.
    void deepLongAndWrongFilesAreLeftAlone()
    {
        const QByteArray levels
            = QByteArray("<a>").repeated(99'999) + QByteArray("</a>").repeated(99'999);
        for (const QByteArray &content : {"<Registry>" + levels + "</Registry>",
                 "<Registry>" + QByteArray(5 << 20, ' ') + "</Registry>",
                 QByteArray("<Reg></Reg>")}) {
            Put(content);
            QVERIFY(Key(kUser, "A") == 0 && Query(kUser, "V").isEmpty() && !SetText(kUser, "V"));
            QVERIFY(Content() == content);
        }
        for (const char *const value : {"0x123456789", "42"}) {
            Put(QByteArray("<Registry><D>") + value
                + "</D><D_TOLVENRegType>SYS_REG_TYPE_DWORD</D_TOLVENRegType></Registry>");
            QVERIFY2(Query(kUser, "D").isEmpty(), value);
        }
    }

private:
    void Put(const QByteArray &content)
    {
        QDir().mkpath(m_home->filePath(".config/TOLVEN"));
        PutFile(m_path, content);
        SYS_RegRelease();
    }
    [[nodiscard]] QByteArray Content() const { return FileContent(m_path); }

    std::optional<QTemporaryDir> m_home;
    QString m_path; // of the current user's file
};

QTEST_GUILESS_MAIN(SysRegistryTest)
#include "tst_sysregistry.moc"
