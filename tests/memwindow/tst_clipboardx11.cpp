// The clipboard as another program on the same X display sees it: xclip, under an Xvfb of our own.

#include "clipboardformats.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <cstdio>

namespace {

constexpr int kPatienceMs = 20'000; // only ever reached when something is broken

/// Runs xclip while our own event loop serves its requests.
QByteArray RunXclip(const QStringList &arguments, const QByteArray &input = {})
{
    QProcess xclip;
    QSignalSpy finished(&xclip, &QProcess::finished);
    xclip.start("xclip", QStringList{"-selection", "clipboard"} + arguments);
    xclip.write(input);
    xclip.closeWriteChannel();
    return finished.wait(kPatienceMs) ? xclip.readAllStandardOutput() : QByteArray("<no answer>");
}

/// Makes xclip the owner of the clipboard and waits until the news is here.
void CopyInXclip(const QString &type, const QByteArray &contents)
{
    QSignalSpy changed(QGuiApplication::clipboard(), &QClipboard::dataChanged);
    RunXclip({"-i", "-t", type}, contents);
    QVERIFY(!changed.isEmpty() || changed.wait(kPatienceMs));
}

/// What pasting would write now.
std::optional<QByteArray> PasteBytes()
{
    const QMimeData *contents = QGuiApplication::clipboard()->mimeData();
    return contents == nullptr ? std::nullopt : CLIP_PasteBytes(*contents);
}

QByteArray AllByteValues(int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(static_cast<char>(i + i / 256));
    return bytes;
}

} // namespace

class ClipboardX11Test : public QObject {
    Q_OBJECT

private slots:
    void bytesGoToAnotherProgramAndBack()
    {
        QClipboard *clipboard = QGuiApplication::clipboard();
        for (const int count : {1, 255, 256, 4097, 65536}) {
            const QByteArray bytes = AllByteValues(count);
            clipboard->setMimeData(CLIP_BinaryData(bytes).release());
            QVERIFY(RunXclip({"-o", "-t", "TARGETS"}).contains("application/octet-stream"));
            QVERIFY(RunXclip({"-o", "-t", "application/octet-stream"}) == bytes);

            const std::span span(
                reinterpret_cast<const std::uint8_t *>(bytes.data()), std::size_t(count));
            const QByteArray list = CLIP_InitializerList(span, 1, 16);
            clipboard->setMimeData(CLIP_RawTextData(list).release());
            QVERIFY(RunXclip({"-o", "-t", "text/plain"}) == list);

            const QString hex = QString::fromLatin1(bytes.toHex(' '));
            clipboard->setMimeData(CLIP_TextData(hex).release());
            QVERIFY(RunXclip({"-o", "-t", "UTF8_STRING"}) == hex.toUtf8()); // what editors ask for

            CopyInXclip("application/octet-stream", bytes);
            QVERIFY(PasteBytes() == bytes);
        }
    }

    void textsOfAnotherProgramArePastedAsTheirBytes()
    {
        CopyInXclip("text/plain", "AB\n\xC3\xBC");
        QCOMPARE(PasteBytes().value(), "AB\n\xC3\xBC");
        CopyInXclip("image/png", "no real picture");
        QVERIFY(!PasteBytes());
    }
};

int main(int argc, char **argv)
{
    for (const char *tool : {"Xvfb", "xclip"}) {
        if (QStandardPaths::findExecutable(tool).isEmpty()) {
            std::printf("WHOLE TEST SKIPPED: %s is not installed\n", tool);
            return 0;
        }
    }
    QProcess display;
    display.start("Xvfb", {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp"});
    QByteArray number;
    while (!number.endsWith('\n') && display.waitForReadyRead(kPatienceMs))
        number += display.readAllStandardOutput();
    if (number.isEmpty()) {
        std::printf("Xvfb does not start: %s\n", display.readAllStandardError().constData());
        return 1;
    }
    qputenv("DISPLAY", ':' + number.trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");

    int result = 0;
    {
        QApplication application(argc, argv);
        ClipboardX11Test test;
        result = QTest::qExec(&test, argc, argv);
    }
    display.terminate(); // takes the xclip that owns the clipboard along
    display.waitForFinished(kPatienceMs);
    return result;
}

#include "tst_clipboardx11.moc"
