// A host of the memory window that has nothing of the program in it: no probe, no shell. It turns
// on every optional feature, and does what the lines on its standard input say.

#include "chexeditor.h"
#include "hostmemory.h"
#include "memcallbacks.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr std::uint32_t kAllFeatures = kFeatureRefresh | kFeatureLoad | kFeatureAccessWidth;

void SendKey(CHexEditor &window, int key, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(window.focusWidget(), &press);
}

/// Opens the context menu, prints its entries, chooses one from it or from a submenu, closes it.
void ChooseFromMenu(CHexEditor &window, const QString &choice)
{
    QTimer::singleShot(0, &window, [choice] {
        QWidget *menu = QApplication::activePopupWidget();
        for (const QMenu *sub : menu->findChildren<QMenu *>()) {
            for (QAction *action : sub->actions()) {
                std::printf("entry %s%s\n", qPrintable(action->text()),
                    action->isChecked() ? " (checked)" : "");
                if (action->text().trimmed() == choice)
                    action->trigger();
            }
        }
        menu->close();
    });
    emit window.customContextMenuRequested(QPoint(50, 50));
}

void GoTo(CHexEditor &window, const QString &address)
{
    auto *action = window.findChild<QAction *>(QStringLiteral("pActionMemoryGoto"));
    action->setData(QStringList(address));
    action->trigger();
}

void Obey(CHexEditor &window, const QString &command, const QString &argument)
{
    if (command == "action") {
        window.findChild<QAction *>(argument)->trigger();
    } else if (command == "goto") {
        GoTo(window, argument);
    } else if (command == "type") {
        for (const QChar character : argument)
            SendKey(window, character.toUpper().unicode(), QString(character));
    } else if (command == "return") {
        SendKey(window, Qt::Key_Return, QStringLiteral("\r"));
    } else if (command == "menu") {
        ChooseFromMenu(window, argument);
    } else if (command == "quit") {
        window.close();
    }
    std::printf("done %s: %s\n", qPrintable(command), qPrintable(window.windowTitle()));
}

} // namespace

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    QApplication application(argc, argv);
    CHexEditor window;
    window.SetCallbacks(HostCallbacks());
    window.SetFeatureFlags(kAllFeatures);
    window.resize(900, 500);
    window.show();
    window.activateWindow();

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QByteArray pending;
    QObject::connect(&input, &QSocketNotifier::activated, &window, [&] {
        std::array<char, 512> chunk;
        const ssize_t length = read(STDIN_FILENO, chunk.data(), chunk.size());
        if (length <= 0) {
            input.setEnabled(false);
            return;
        }
        pending.append(chunk.data(), length);
        for (qsizetype end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            const QString line = QString::fromUtf8(pending.left(end));
            pending.remove(0, end + 1);
            Obey(window, line.section(u' ', 0, 0), line.section(u' ', 1));
        }
    });
    return QApplication::exec();
}
