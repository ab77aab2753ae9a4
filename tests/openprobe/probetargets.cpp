#include "probetargets.h"

#include <QtTest>

QString ProbeTarget::Missing() const
{
    const bool isThere = needs.isEmpty() || !QStandardPaths::findExecutable(needs).isEmpty();
    return isThere ? QString() : needs + " is not installed";
}

/// A machine of the emulator with its firmware.
struct QemuMachine {
    QString name;
    QString command; ///< ends with a file of the firmware folder
    TargetPlaces places;
};

// They differ in byte order, address spaces, number of cores, width of an address and the place
// of RAM.
static const QemuMachine kMachines[] = {
    {"arm", "qemu-system-arm -M netduinoplus2 -kernel demo.elf",
        {.holeBehind = 0x2002FFC0, .holeInFront = 0x07FFFFC0, .coreId = 0x410FC240}},
    {"mips", "qemu-system-mips -M malta -m 16 -nodefaults -kernel mips.elf",
        {0x80109000, 0x80110000, 0x80100020, 0xC0001000, 0xBFFFFFC0, 0x7FFFFFC0}},
    {"riscv32", "qemu-system-riscv32 -M virt -m 16 -bios riscv32.elf",
        {0x80009000, 0x80010000, 0x80000020, 0x90000000, 0x80FFFFC0, 0x00000FC0}},
    {"riscv64", "qemu-system-riscv64 -M virt -m 16 -smp 2 -bios riscv64.elf",
        {0x80009000, 0x80010000, 0x80000020, 0x90000000, 0x80FFFFC0, 0x00000FC0}},
    {"aarch64",
        "qemu-system-aarch64 -M virt -cpu cortex-a53 -smp 2 -m 16 -nodefaults -kernel aarch64.elf",
        {0x40089000, 0x40090000, 0x40080020, 0x90000000, 0x40FFFFC0, 0x3FFFFFC0}},
    {"avr", "qemu-system-avr -M mega2560 -bios avr.elf",
        {0x00800800, 0x00010000, 0x00800220, 0x30000000, 0x008021C0, 0x007FFFC0}},
};

QemuTarget::QemuTarget(const QString &name)
{
    const QemuMachine &machine = *std::ranges::find(kMachines, name, &QemuMachine::name);
    const QString doors = "-nographic -serial null -monitor none -gdb tcp:127.0.0.1:%1 "
                          "-qmp tcp:127.0.0.1:%2,server=on,wait=off";
    command = machine.command.split(' ');
    command.last().prepend(FIRMWARE_FOLDER "/");
    command += doors.arg(port).arg(m_monitorPort).split(' ');
    needs = command[0];
    selector = "127.0.0.1:" + QByteArray::number(port);
    places = machine.places;
    answerer = &m_process;
}

bool QemuTarget::Start()
{
    return m_process.Start(command) && PeerProcess::AwaitListener(port)
        && PeerProcess::AwaitListener(m_monitorPort);
}

// One line of JSON for each command, after a greeting; events may come in between.
QByteArray QemuTarget::Monitor(const QByteArray &text) const
{
    return PeerProcess::Converse(m_monitorPort,
        "{\"execute\":\"qmp_capabilities\"}\n{\"execute\":\"" + text + "\"}\n", "\"return\"", 2);
}

OpenOcdTarget::OpenOcdTarget()
{
    needs = "openocd";
    selector = "tcl:127.0.0.1:" + QByteArray::number(tclPort);
    places.coreId = 0x410FC241;
    answerer = &m_server;
}

bool OpenOcdTarget::Start()
{
    Kill();
    const quint16 boardPort = PeerProcess::FreePort();
    const QString ports = "tcl_port %1; gdb_port %2; telnet_port disabled";
    return board.Start({BOARD_MODEL, QString::number(boardPort)})
        && PeerProcess::AwaitListener(boardPort)
        && m_server.Start({"openocd", "-c", QString("set MODEL_PORT %1").arg(boardPort), "-f",
            MODEL_CONFIG, "-c", ports.arg(tclPort).arg(gdbPort)})
        && PeerProcess::AwaitListener(tclPort) && PeerProcess::AwaitListener(gdbPort);
}

void OpenOcdTarget::Kill()
{
    m_server.Kill();
    board.Kill();
}

QByteArray OpenOcdTarget::Command(const QByteArray &text) const
{
    return PeerProcess::Converse(tclPort, text + '\x1a', "\x1a", 1).chopped(1);
}

bool ProcessTarget::Start()
{
    if (!program.isEmpty())
        QFile::copy(PROBE_TARGET, program); // with its permissions; one that is there stays
    const bool started = m_process.Start({program.isEmpty() ? PROBE_TARGET : program});
    if (selector.isEmpty() || selector.startsWith("pid:"))
        selector = "pid:" + QByteArray::number(Id());
    return started && Runs();
}

bool ProcessTarget::Runs()
{
    const auto counter = [this] {
        QFile memory(QString("/proc/%1/mem").arg(Id()));
        const bool open = memory.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        return open && memory.seek(places.counter) ? memory.read(4) : QByteArray();
    };
    const QByteArray before = counter();
    return QTest::qWaitFor([&] { return counter() != before; }, 60'000);
}

GdbServerTarget::GdbServerTarget()
{
    needs = "gdbserver";
    selector = "127.0.0.1:" + QByteArray::number(m_port);
    answerer = &m_server;
    stopsWhenAbandoned = true;
}

bool GdbServerTarget::Start()
{
    Kill();
    return ProcessTarget::Start()
        && m_server.Start({"gdbserver", "--attach", selector, QString::number(Id())})
        && PeerProcess::AwaitListener(m_port);
}

void GdbServerTarget::Kill()
{
    m_server.Kill();
    ProcessTarget::Kill();
}
