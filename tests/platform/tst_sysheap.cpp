#include "sysguard.h"
#include "sysheap.h"

#include <QTest>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

/// What standard output receives while `action` runs.
template <typename Action> QByteArray Printed(Action action)
{
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    std::FILE *const file = std::tmpfile();
    dup2(fileno(file), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::rewind(file);
    QByteArray text(4096, '\0');
    text.resize(static_cast<qsizetype>(
        std::fread(text.data(), 1, static_cast<std::size_t>(text.size()), file)));
    std::fclose(file);
    return text;
}

} // namespace

class SysHeapTest : public QObject {
    Q_OBJECT

private slots:
    void aFailedAllocationTellsTheUser()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("the sanitizers' allocators do not live with a bounded address space");
#else
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_AS, &limit), 0);
        const rlimit tight{rlim_t{200} << 20, limit.rlim_max};
        void *block = nullptr;
        const QByteArray text = Printed([&] {
            setrlimit(RLIMIT_AS, &tight);
            block = SYS_AllocBlock(0x0FFFFFF0);
            setrlimit(RLIMIT_AS, &limit);
        });
        QCOMPARE(block, nullptr);
        QCOMPARE(text,
            QByteArray("\n\n*** Error ***\n"
                       "Failed to allocate 0x0FFFFFF0 bytes of memory!\n"
                       "*** Error ***\n\n"));
#endif
    }

    void damagedBlocksAreReported()
    {
        const SysGuardHeader header{33, kSysGuardSignature, {}};
        std::vector<std::uint8_t> block(sizeof header + header.userBytes + 1);
        std::memcpy(block.data(), &header, sizeof header);
        block.back() = kSysGuardByte;
        int result = -2;
        const auto verify = [&] { result = SYS_VerifyBlock(block.data()); };
        QCOMPARE(Printed(verify), QByteArray());
        QCOMPARE(result, SYS_VERIFY_OK);
        QCOMPARE(SYS_VerifyBlock(nullptr), SYS_VERIFY_OK);

        const auto framed = [](const QByteArray &text) {
            return "\n\n***  Debug Error ***\n" + text + "\n***  Debug Error ***\n\n";
        };
        block.back() = 0;
        QCOMPARE(Printed(verify), framed("Buffer overflow in memory block. 1 bytes overflowed."));
        QCOMPARE(result, SYS_VERIFY_ERROR);
        block[4] ^= 1; // a wrong signature is told first: the size may be wrong too
        block[3] = 0xFF;
        QCOMPARE(Printed(verify), framed("Wrong alloc signature in memory block !"));
        QCOMPARE(result, SYS_VERIFY_ERROR);
    }
};

QTEST_GUILESS_MAIN(SysHeapTest)
#include "tst_sysheap.moc"
