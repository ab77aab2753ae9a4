// A memory window whose commands are given as a user gives them.
#pragma once

#include "memtestwindow.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>

#include <functional>

inline constexpr std::uint64_t kBase = 0x2000'0000;
inline constexpr const char *kBinary = "application/octet-stream";

/// A window at kBase over the bytes 00 01 02 ...
struct Commands : MemTestWindow {
    Commands()
    {
        QGuiApplication::clipboard()->clear();
        for (std::uint64_t i = 0; i < 4096; ++i)
            target.Set(kBase + i, std::uint8_t(i));
        GoTo(kBase);
    }
    /// Triggers an action and deals with the dialog that it opens.
    template <typename Dialog>
    void TriggerWithDialog(const char *action, const std::function<void(Dialog &)> &deal)
    {
        bool opened = false;
        QTimer::singleShot(0, &window, [&] {
            auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            opened = true;
            deal(*dialog);
        });
        Trigger(action);
        QVERIFY(opened);
    }
    /// Accepts the memory dialog of an action with these texts in its fields.
    /// @param replaces  the dialog asks whether a file may be replaced, and it may
    void Run(const char *action, const std::vector<std::pair<const char *, QString>> &fields,
        bool replaces = false)
    {
        TriggerWithDialog<CMemDialog>(action, [&](CMemDialog &dialog) {
            for (const auto &[box, text] : fields) {
                Field(dialog, box)->selectAll();
                QTest::keyClicks(Field(dialog, box), text);
            }
            target.reads.clear();
            bool asked = false;
            if (replaces)
                QTimer::singleShot(0, &dialog, [&asked] {
                    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
                    QVERIFY(box != nullptr);
                    asked = true;
                    box->button(QMessageBox::Yes)->click();
                });
            dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
            QCOMPARE(asked, replaces);
        });
    }
    static QLineEdit *Field(const QDialog &dialog, const char *box)
    {
        return dialog.findChild<QLineEdit *>(QLatin1String(box));
    }
    /// Answers the "Go To" dialog.
    void RunGoTo(const QString &text, bool accept)
    {
        TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
            dialog.setTextValue(text);
            accept ? dialog.accept() : dialog.reject();
        });
    }
    /// @param toEdit  the keys go to the edit field itself, as an assistive program sends them
    void EnterAddress(const QString &text, bool toEdit = false)
    {
        addressBox->setFocus();
        addressBox->lineEdit()->selectAll();
        QWidget *const receiver
            = toEdit ? static_cast<QWidget *>(addressBox->lineEdit()) : QApplication::focusWidget();
        QTest::keyClicks(receiver, text);
        QTest::keyClick(receiver, Qt::Key_Return);
    }
    QString AddressItems() const
    {
        QStringList texts;
        for (int i = 0; i < addressBox->count(); ++i)
            texts << addressBox->itemText(i);
        return texts.join(u' ');
    }
    /// From the cursor to the end of the space.
    void SelectToTheEnd()
    {
        QTest::keyPress(view, Qt::Key_Shift);
        Key(Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
        QTest::keyRelease(view, Qt::Key_Shift);
    }
    QString TakeMessages() { return std::exchange(target.messages, {}).join(u'|'); }
    static QString ClipboardText() { return QGuiApplication::clipboard()->text(); }
    static QByteArray ClipboardData(const char *type)
    {
        return QGuiApplication::clipboard()->mimeData()->data(QLatin1String(type));
    }
    static void PutOnClipboard(const char *type, const QByteArray &bytes)
    {
        auto *data = new QMimeData;
        data->setData(QLatin1String(type), bytes);
        QGuiApplication::clipboard()->setMimeData(data);
    }
};

inline QByteArray Contents(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<no file>");
}

inline void Put(const QString &fileName, const QByteArray &contents)
{
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
}
