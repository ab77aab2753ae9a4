#include "appharness.h"

#include "aboutdialog.h"
#include "cdeviceselectiondialog.h"
#include "cmemdialog.h"
#include "configdialog.h"
#include "ipinfodialog.h"
#include "mainwindow.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>

namespace {

/// What a screen reader calls a control. A combo box goes by its labels: its name is what it shows.
QString NameOf(QWidget *widget)
{
    QAccessibleInterface *control = QAccessible::queryAccessibleInterface(widget);
    if (qobject_cast<QComboBox *>(widget) == nullptr)
        return control->text(QAccessible::Name);
    QStringList labels;
    for (const auto &[label, relation] : control->relations(QAccessible::Label))
        labels.append(label->text(QAccessible::Name).remove(u':').trimmed());
    return labels.join(u'|');
}

bool IsControl(const QWidget *widget)
{
    const QWidget *parent = widget->parentWidget();
    if (qobject_cast<const QComboBox *>(parent) || qobject_cast<const QAbstractItemView *>(parent))
        return false; // a part of it: its line edit, its headers
    return qobject_cast<const QAbstractButton *>(widget) || qobject_cast<const QComboBox *>(widget)
        || qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QGroupBox *>(widget)
        || qobject_cast<const QPlainTextEdit *>(widget)
        || qobject_cast<const QAbstractItemView *>(widget);
}

/// The controls of a window, hidden ones as well, without a name of their own.
QStringList Faults(const QWidget *window)
{
    QStringList faults;
    QStringList names;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (!IsControl(widget) || widget->window() != window)
            continue;
        const QString name = NameOf(widget).remove(u'&');
        const QString who
            = QLatin1String(widget->metaObject()->className()) + u' ' + widget->objectName();
        if (name.isEmpty())
            faults << who + QStringLiteral(" has no name");
        if (names.contains(name))
            faults << who + QStringLiteral(" is another ") + name;
        names << name;
    }
    return names.isEmpty() ? QStringList("no control found") : faults;
}

} // namespace

/// Every control of every window has a name of its own.
class AccessibleNamesTest : public QObject {
    Q_OBJECT

private slots:
    void everyControlHasANameOfItsOwn()
    {
        AppHarness app;
        QStringList faults;
        const auto look = [&](const QWidget *window) { faults << Faults(window); };
        int dialogs = 0;
        app.AnswerDialog(AppHarness::DialogAnswer::Accept, [&](ConfigDialog &dialog) {
            look(&dialog);
            ++dialogs;
        });
        app.StartConnected();
        look(&app.Window());
        for (const MemDialogMode mode :
            {MemDialogMode::Load, MemDialogMode::Save, MemDialogMode::Fill}) {
            CMemDialog dialog;
            dialog.SetMode(mode);
            look(&dialog);
        }
        look(std::make_unique<CDeviceSelectionDialog>(nullptr).get());
        look(std::make_unique<AboutDialog>("Pelimo").get());
        QTimer::singleShot(0, this, [&] {
            look(QApplication::activeModalWidget());
            ++dialogs;
            QApplication::activeModalWidget()->close();
        });
        ShowIpInformation(&app.Window());
        QCOMPARE(faults.join(u'\n'), QString());
        QCOMPARE(dialogs, 2);
    }
};

QTEST_MAIN(AccessibleNamesTest)
#include "tst_accessiblenames.moc"
