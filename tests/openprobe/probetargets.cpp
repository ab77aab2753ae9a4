#include "probetargets.h"

#include <QJsonDocument>
#include <QtTest>

static constexpr int kLimitMs = 60'000; // only a failure waits that long

// They differ where it hurts: byte order, address spaces, cores, width of an address, where RAM
// lies.
static const QList<QemuMachine> &Machines()
{
    static const QList<QemuMachine> kMachines = {
        {"arm", "qemu-system-arm", {"-M", "netduinoplus2", "-kernel"}, "demo.elf", 0x410FC240,
            {.holeBehind = 0x2002FFC0, .holeInFront = 0x07FFFFC0}},
        {"mips", "qemu-system-mips", {"-M", "malta", "-m", "16", "-nodefaults", "-kernel"},
            "mips.elf", 0,
            {0x80109000, 0x80110000, 0x80100020, 0xC0001000, 0xBFFFFFC0, 0x7FFFFFC0}},
        {"riscv32", "qemu-system-riscv32", {"-M", "virt", "-m", "16", "-bios"}, "riscv32.elf", 0,
            {0x80009000, 0x80010000, 0x80000020, 0x90000000, 0x80FFFFC0, 0x00000FC0}},
        {"riscv64", "qemu-system-riscv64", {"-M", "virt", "-m", "16", "-smp", "2", "-bios"},
            "riscv64.elf", 0,
            {0x80009000, 0x80010000, 0x80000020, 0x90000000, 0x80FFFFC0, 0x00000FC0}},
        {"aarch64", "qemu-system-aarch64",
            {"-M", "virt", "-cpu", "cortex-a53", "-smp", "2", "-m", "16", "-nodefaults", "-kernel"},
            "aarch64.elf", 0,
            {0x40089000, 0x40090000, 0x40080020, 0x90000000, 0x40FFFFC0, 0x3FFFFFC0}},
        {"avr", "qemu-system-avr", {"-M", "mega2560", "-bios"}, "avr.elf", 0,
            {0x00800800, 0x00010000, 0x00800220, 0x30000000, 0x008021C0, 0x007FFFC0}},
    };
    return kMachines;
}

static const QemuMachine *FindMachine(const QString &name)
{
    for (const QemuMachine &machine : Machines()) {
        if (name == machine.name)
            return &machine;
    }
    return nullptr;
}

QemuTarget::QemuTarget(const QString &name)
    : m_machine(*FindMachine(name))
{
}

bool QemuTarget::Knows(const QString &name)
{
    return FindMachine(name) != nullptr;
}

bool QemuTarget::Start(const QStringList &more)
{
    const QString here = "tcp:127.0.0.1:%1";
    return m_process.Start(QStringList(m_machine.program) + m_machine.options
               + QStringList{QString(FIRMWARE_FOLDER "/") + m_machine.firmware, "-nographic",
                   "-serial", "null", "-monitor", "none", "-gdb", here.arg(m_port), "-qmp",
                   here.arg(m_monitorPort) + ",server=on,wait=off"}
               + more)
        && PeerProcess::AwaitListener(m_port) && PeerProcess::AwaitListener(m_monitorPort);
}

// One line of JSON for each command, after a greeting; events may come in between.
QByteArray QemuTarget::Monitor(const QByteArray &command) const
{
    return PeerProcess::Converse(m_monitorPort,
        "{\"execute\":\"qmp_capabilities\"}\n{\"execute\":\"" + command + "\"}\n", "\"return\"", 2);
}

QByteArray QemuTarget::RunState() const
{
    QString status;
    for (const QByteArray &line : Monitor("query-status").split('\n'))
        status += QJsonDocument::fromJson(line)["return"]["status"].toString();
    return status.toUtf8();
}

bool OpenOcdTarget::Start()
{
    Kill();
    const quint16 boardPort = PeerProcess::FreePort();
    const QString ports = "tcl_port %1; gdb_port %2; telnet_port disabled";
    return m_board.Start({BOARD_MODEL, QString::number(boardPort)})
        && PeerProcess::AwaitListener(boardPort)
        && m_server.Start({"openocd", "-c", QString("set MODEL_PORT %1").arg(boardPort), "-f",
            MODEL_CONFIG, "-c", ports.arg(m_tclPort).arg(m_gdbPort)})
        && PeerProcess::AwaitListener(m_tclPort) && PeerProcess::AwaitListener(m_gdbPort);
}

void OpenOcdTarget::Kill()
{
    m_server.Kill();
    m_board.Kill();
}

QByteArray OpenOcdTarget::Command(const QByteArray &text) const
{
    return PeerProcess::Converse(m_tclPort, text + '\x1a', "\x1a", 1).chopped(1);
}

static quint32 CounterOf(qint64 process)
{
    QFile memory(QString("/proc/%1/mem").arg(process));
    quint32 value = 0;
    if (memory.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        && memory.seek(TargetPlaces().counter))
        memory.read(reinterpret_cast<char *>(&value), sizeof value);
    return value;
}

bool ProcessTarget::Start(const QString &copy)
{
    if (!copy.isEmpty())
        QFile::copy(PROBE_TARGET, copy); // with its permissions; one that is there stays
    return m_process.Start({copy.isEmpty() ? PROBE_TARGET : copy}) && Runs();
}

bool ProcessTarget::Runs()
{
    const quint32 before = CounterOf(Id());
    return QTest::qWaitFor([&] { return CounterOf(Id()) != before; }, kLimitMs);
}

bool GdbServerTarget::Start()
{
    Kill();
    return ProcessTarget::Start()
        && m_server.Start(
            {"gdbserver", "--attach", QString("127.0.0.1:%1").arg(m_port), QString::number(Id())})
        && PeerProcess::AwaitListener(m_port);
}

void GdbServerTarget::Kill()
{
    m_server.Kill();
    ProcessTarget::Kill();
}
