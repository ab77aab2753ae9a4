#include "sysregistry.h"

#include "testfile.h"

#include <QtTest>

#include <sys/stat.h>

namespace {

constexpr SYS_REG_KEY kUser = SYS_REG_CURRENT_USER;

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

bool Set(SYS_REG_KEY key, const char *name, const QByteArray &data = "x",
    std::uint32_t type = SYS_REG_TYPE_SZ)
{
    const auto size = static_cast<std::uint32_t>(data.size());
    return SYS_RegSetValue(key, name, type, data.constData(), size) == SYS_REG_OK;
}

/// A key, made where it is missing; 0 after a failure.
SYS_REG_KEY Key(SYS_REG_KEY parent, const QByteArray &path)
{
    SYS_REG_KEY key = 0;
    return SYS_RegCreateKey(parent, path, &key) == SYS_REG_OK ? key : 0;
}

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

    void valuesOfEveryTypeHaveTheirFormAndComeBack()
    {
        QCOMPARE(Query(SYS_REG_CLASSES_ROOT, "None") + Query(SYS_REG_LOCAL_MACHINE, "None"), "");
        QCOMPARE(FileNames(m_home->filePath(".config/TOLVEN")).join(' '),
            "TOLVEN_REG_HKEY_CLASSES_ROOT.xml TOLVEN_REG_HKEY_LOCAL_MACHINE.xml");
        QVERIFY(Query(kUser, "None").isEmpty() && Content() == "<Registry>\r\n</Registry>");
        const QByteArray before = "<!DOCTYPE Registry [<!ENTITY a \"b\">]><!-- by hand -->"
                                  "<Registry a=\"1\">\r\n  <O><![CDATA[<x>]]>&amp; <y/></O>\r\n";
        // The text that the value adds to a file of another program; the value is read back as
        // well.
        const auto form = [&](std::uint32_t type, const QByteArray &data) {
            Put(before + "</Registry>\n");
            const QByteArray expected = QByteArray::number(type) + ' ' + data;
            const QByteArray list("1\0002\0003\0\0", 7); // which leaves nothing behind
            const SYS_REG_KEY key = Key(kUser, "A\\B");
            const bool isSet = Set(key, "N", list, SYS_REG_TYPE_MULTI_SZ)
                && Set(key, "N", data, type) && Query(key, "  N") == expected;
            SYS_RegRelease();
            QByteArray content
                = Content().replace(before + "<A><B>", "").replace("_TOLVENReg", "_");
            content.replace("</B></A></Registry>", "");
            return isSet && Query(Key(kUser, "A\\B"), "N") == expected ? content : "lost";
        };
        const QByteArray end(1, '\0');
        QByteArray everyByte;
        for (int byte = 1; byte < 256; ++byte)
            everyByte += static_cast<char>(byte);
        QCOMPARE(form(SYS_REG_TYPE_SZ, "a & b" + end),
            "<N>a &amp; b</N><N_Type>SYS_REG_TYPE_SZ</N_Type>");
        QCOMPARE(form(SYS_REG_TYPE_DWORD, QByteArray("\x2A\xF3\0\1", 4)),
            "<N>0x0100F32A</N><N_Type>SYS_REG_TYPE_DWORD</N_Type>");
        QCOMPARE(form(SYS_REG_TYPE_QWORD, QByteArray("\1\0\0\0\xEF\0\0\xF1", 8)),
            "<N>0xF10000EF00000001</N><N_Type>SYS_REG_TYPE_QWORD</N_Type>");
        QCOMPARE(form(SYS_REG_TYPE_MULTI_SZ, QByteArray("x\0y\0\0", 5)),
            "<N>x</N><N_Type>SYS_REG_TYPE_MULTI_SZ</N_Type><N_MltStr1>y</N_MltStr1>");
        QVERIFY(form(SYS_REG_TYPE_MULTI_SZ, end + end) != "lost");
        QVERIFY(form(SYS_REG_TYPE_SZ, end) != "lost");
        QVERIFY(form(SYS_REG_TYPE_EXPAND_SZ, " \r\na\rb\nc\r\n</N>&lt;]]>" + everyByte + end)
            != "lost");
        QVERIFY(form(SYS_REG_TYPE_BINARY, "") != "lost");
        QVERIFY(form(SYS_REG_TYPE_BINARY, end + everyByte + end) != "lost");
        QVERIFY(Set(kUser, "S", QByteArray("text\0", 5)));
        QCOMPARE(Query(kUser, "S", 4), "needs 5");
        QCOMPARE(Query(kUser, "S", 5).size(), 2 + 5);
    }

    void whatIsWrongIsRefusedAndChangesNothing()
    {
        const SYS_REG_KEY outer = Key(kUser, "A");
        const SYS_REG_KEY inner = Key(outer, "\\B\\\\C\\");
        QVERIFY(Set(inner, "gr\xC3\xB6\xC3\x9F-1.x_") && Set(Key(inner, "V"), "V"));
        QCOMPARE(Query(Key(kUser, "A\\B\\C"), "gr\xC3\xB6\xC3\x9F-1.x_").left(3), "1 x");
        QVERIFY(Set(inner, "V", "beside a key") && Query(Key(inner, "V"), "V").startsWith("1 x"));
        QVERIFY(Set(kUser, "V", "old"));
        const QByteArray before = Content();
        for (const char *const wrong : {"", "  ", "1st", "a b", "a<b", "a\\b", "cut\xC3",
                 "long\xC0\xAFslash", "\xC3\x97", "X_TOLVENRegType", "X_TOLVENRegMltStr1"})
            QVERIFY2(!Set(inner, wrong) && Query(inner, wrong).isEmpty(), wrong);
        QVERIFY(Key(outer, "B\\1") == 0 && Key(outer, QByteArray("a\\").repeated(100)) == 0);
        QVERIFY(!Set(kUser, "V", "xyz", SYS_REG_TYPE_DWORD) && !Set(kUser, "V", "xyz", 5));
        QVERIFY(SYS_RegCloseKey(inner) == SYS_REG_OK && SYS_RegCloseKey(inner) == SYS_REG_ERROR);
        QVERIFY(SYS_RegCloseKey(0) == SYS_REG_OK && SYS_RegCloseKey(kUser) == SYS_REG_OK);
        for (const SYS_REG_KEY key : {inner, SYS_REG_KEY{0}, SYS_REG_LAST_ROOT, SYS_REG_KEY{12345}})
            QVERIFY(Key(key, "X") == 0 && !Set(key, "V") && Query(key, "V").isEmpty());
        chmod(m_path.toUtf8(), 0444);
        QVERIFY(!Set(kUser, "V", "new") && Key(kUser, "K") == 0);
        chmod(m_path.toUtf8(), 0644);
        QVERIFY(!Set(kUser, "V", QByteArray(5 << 20, 'x')));
        QCOMPARE(Query(kUser, "V"), QByteArray("1 old\0", 6));
        QCOMPARE(Content(), before);
    }

    // The fuzzer tries short damaged files.
    void deepLongAndWrongFilesAreLeftAlone()
    {
        const QByteArray levels
            = QByteArray("<a>").repeated(99'999) + QByteArray("</a>").repeated(99'999);
        for (const QByteArray &content : {"<Registry>" + levels + "</Registry>",
                 "<Registry>" + QByteArray(5 << 20, ' ') + "</Registry>",
                 QByteArray("<Reg></Reg>")}) {
            Put(content);
            QVERIFY(Key(kUser, "A") == 0 && Query(kUser, "V").isEmpty() && !Set(kUser, "V"));
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
