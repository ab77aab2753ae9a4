// The device dialog, and without it the list's texts, their order and what filters keep.

#include "cdevicedatamodel.h"
#include "cdevicedataproxymodel.h"
#include "cdeviceselectiondialog.h"
#include "corenames.h"
#include "ctableview.h"
#include "devicefixture.h"
#include "naturalorder.h"
#include "paintrecorder.h"
#include "randomseed.h"

#include <QAbstractItemModelTester>
#include <QtTest>
#include <QtWidgets>

namespace {

/// The rules of the filters, as plain code without caches.
bool IsAccepted(const QAbstractItemModel &model, int row, const QStringList &patterns)
{
    for (int column = 0; column < kDeviceColumns; ++column) {
        const QString text = model.index(row, column).data().toString();
        const QString &pattern = patterns[column];
        const bool matches = pattern.startsWith('*')
            ? text.endsWith(pattern.mid(1), Qt::CaseInsensitive)
            : pattern.endsWith('*') ? text.startsWith(pattern.chopped(1), Qt::CaseInsensitive)
                                    : text.contains(pattern, Qt::CaseInsensitive);
        if (!matches)
            return false;
    }
    return true;
}

} // namespace

class DeviceDialogTest : public QObject {
    Q_OBJECT

private slots:
    void init() { Open(MakeDeviceRecords(), "STM32F103C8"); }
    void cleanup() { m_dialog.reset(); }

    void itOpensOnTheCurrentDeviceAndFindsItAgain()
    {
        std::vector<RanvoDeviceInfo> records(2000, MakeRecord("Maker", "Chip", 0, 0, 0, 0));
        records[1500].name = "wanted";
        Open(records, "wanted");
        QCOMPARE(Selected(), "wanted");
        QCOMPARE(Child<QComboBox>("pComboBoxCore")->currentText(), "Core #0"); // at least one
        const QRect view = m_table->viewport()->rect();
        QVERIFY(view.contains(m_table->visualRect(Cell(1501))) && m_table->hasFocus());
        m_table->verticalScrollBar()->setValue(0);
        QTest::mouseClick(Child<QLabel>("pLabelSelectedDevice"), Qt::LeftButton);
        QVERIFY(view.contains(m_table->visualRect(Cell(1501))));

        // The strip that stands for the filter row leads to it, and hides no row moved to.
        auto *const strip = Child<QWidget>("pFilterStrip");
        m_table->scrollTo(Cell(700));
        QVERIFY(m_table->visualRect(Cell(700)).top() >= strip->height());
        QCOMPARE(PaintRecorder::Record(*strip).size(), kDeviceColumns);
        QTest::mouseClick(strip, Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(Editor(0) != nullptr && !strip->isVisible());
    }

    void clicksAndKeysSelectAlike()
    {
        auto *const byteOrder = Child<QComboBox>("pComboBoxEndian");
        auto *const cores = Child<QComboBox>("pComboBoxCore");
        Click(5);
        QCOMPARE(Selected() + byteOrder->currentText(), "RX610 bigBig Endian");
        QTest::keyClick(m_table, Qt::Key_Up);
        QCOMPARE(Selected() + byteOrder->currentText(), "LPC4350_dualLittle Endian");
        QVERIFY(!cores->isEnabled() && !cores->toolTip().isEmpty()); // it says why
        Click(3);
        QCOMPARE(cores->count(), 1);
        Click(4);
        cores->setCurrentIndex(1);
        byteOrder->setCurrentIndex(1); // which stands until another device is chosen
        Click(4);
        QTest::mouseDClick(
            m_table->viewport(), Qt::RightButton, {}, m_table->visualRect(Cell(4)).center());
        const DeviceSelection &result = m_dialog->Selection();
        QVERIFY(result.accepted && result.bigEndian && !m_dialog->isVisible());
        QCOMPARE(result.deviceName, "LPC4350_dual");
        QCOMPARE(result.selectedRow, 4U);
        QCOMPARE(result.coreIndex, 1U);

        const QByteArray endless(9999, 'x');
        Open({MakeRecord(nullptr, endless, 7, 0xFFFFFFFF, 0, 0, 99)},
            QString(kMaxDeviceNameBytes, 'x'));
        QCOMPARE(Child<QComboBox>("pComboBoxCore")->count(), 256);
        QTest::keyClick(m_table, Qt::Key_Escape);
        QVERIFY(!m_dialog->Selection().accepted && m_dialog->Selection().deviceName.isEmpty());
    }

    void theFilterRowWorksWithoutAMouse()
    {
        TypeFilter("f40*"); // no name begins so
        QTRY_COMPARE(m_table->model()->rowCount(), 1);
        TypeFilter("*7ig");
        // No waiting here: the last typed character counts although the editor closes at once.
        QTest::keyClick(Editor(kDeviceColumn), Qt::Key_Return);
        QCOMPARE(m_table->model()->rowCount(), 2);
        QCOMPARE(Selected(), "STM32F407IG");
        QVERIFY(m_table->hasFocus() && m_dialog->isVisible());

        TypeFilter("lpc"); // never completed to a name
        QCOMPARE(Editor(kDeviceColumn)->currentText(), "lpc");
        QTRY_COMPARE(Cell(1).data(), "LPC4350_dual");
        QTest::keyClick(Editor(kDeviceColumn), Qt::Key_Escape); // back to the filter before
        QCOMPARE(Cell(1).data(), "STM32F407IG");
        QTest::keyClick(m_table, Qt::Key_F, Qt::ControlModifier);
        QTest::keyClick(Editor(kDeviceColumn), Qt::Key_Tab);
        for (int column = kCoreColumn; column >= 0; --column)
            QTest::keyClick(Editor(column), Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(m_table->hasFocus() && m_dialog->isVisible());
        QTest::keyClick(m_table, Qt::Key_Return);
        QVERIFY(m_dialog->Selection().accepted && !m_dialog->isVisible());
    }

    void whatAFilterBoxOffersKeepsOneTextAlone()
    {
        std::vector<RanvoDeviceInfo> records;
        for (const std::uint32_t kilobytes : {8, 48, 128, 768, 80})
            records.push_back(MakeRecord("A", "8", 0, kilobytes, kilobytes * 1024, 0));
        for (const char *const name : {"a", "A", "*", "*b", "b*", "ab", "ba", "aba", "88", "x8x"})
            records.push_back(MakeRecord(name, name, 0, 10, 0, 0));
        Open(records, {});
        auto *const model = m_table->model();
        QStringList offered;
        for (int column = 0; column < kDeviceColumns; ++column) {
            m_table->EditFilter(column);
            QStringList patterns;
            for (int item = 1; item < Editor(column)->count(); ++item)
                patterns.append(Editor(column)->itemText(item));
            for (const QString &pattern : patterns) {
                model->setData(Cell(0, column), pattern);
                QSet<QString> kept;
                for (int row = 1; row < model->rowCount(); ++row)
                    kept.insert(Cell(row, column).data().toString().toLower());
                QVERIFY2(kept.size() == 1 && pattern.contains(*kept.begin(), Qt::CaseInsensitive),
                    qPrintable(pattern));
            }
            model->setData(Cell(0, column), QString());
            offered.append(patterns.join('|'));
        }
        QCOMPARE(offered[kFlashSizeColumn], "0 KB*|8 KB*|48 KB|80 KB|128 KB|768 KB");
        QCOMPARE(offered[kNumCoresColumn], "10|48|80|128|768"); // no pattern keeps 8 alone
        QVERIFY(offered.join('|').count('|') > 20);
    }

    void oneClickOnTheArrowOpensTheList()
    {
        m_dialog->resize(m_dialog->width(), 200);
        for (const int scrolledPx : {0, 50}) { // and on the strip that stands for the row
            m_table->verticalScrollBar()->setValue(scrolledPx);
            QWidget *const strip = Child<QWidget>("pFilterStrip");
            QTest::mouseClick(strip->isVisible() ? strip : m_table->viewport(), Qt::LeftButton, {},
                QPoint(m_table->visualRect(Cell(0, kCoreColumn)).right() - 5, 5));
            QTRY_VERIFY(Editor(kCoreColumn)->view()->isVisible());
            Editor(kCoreColumn)->hidePopup();
            QTest::keyClick(Editor(kCoreColumn), Qt::Key_Escape);
        }
    }

    void headersSortAndKeepTheFilterRow()
    {
        auto *const header = m_table->horizontalHeader();
        QCOMPARE(header->sortIndicatorSection(), -1);
        QCOMPARE(Cell(0).data(Qt::AccessibleTextRole), "Filter for Device: *");
        for (int column = 0; column < kDeviceColumns; ++column) // room for title and mark
            QVERIFY(header->sectionSize(column) >= header->sectionSizeHint(column));
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
            QPoint(header->sectionViewportPosition(kFlashSizeColumn) + 10, 5));
        QCOMPARE(Cell(0).data(), "*");
        QCOMPARE(Cell(7).data(), "RX610 big");
        QCOMPARE(Selected(), "STM32F103C8");
    }

    void aRunPresetsTheFiltersAndHandsThemBack()
    {
        const auto records = MakeDeviceRecords();
        DeviceSelection result;
        for (QString filters : {"\tstm*", ""}) {
            const QString edited = filters.isEmpty() ? "" : "\tstm*\tm4\t\t\t";
            QTimer::singleShot(0, this, [] {
                auto *const dialog
                    = qobject_cast<CDeviceSelectionDialog *>(QApplication::activeModalWidget());
                auto *const model = dialog->findChild<CTableView *>()->model();
                QCOMPARE(model->rowCount(), 4);
                model->setData(model->index(kFilterRow, kCoreColumn), "m4");
                dialog->OnButtonAcceptClicked();
            });
            CDeviceSelectionDialog::Run(result, records.data(), 7, filters, true, "STM32F40");
            QCOMPARE(filters + result.deviceName, edited + "STM32F40");
        }
    }

    void sizesAndCoresAreTold()
    {
        const QStringList sizes{SizeText(1023), SizeText(999 * 1024 + 1023), SizeText(1000 * 1024),
            SizeText(0xFFFFFFFF), SizeText(-1000 * 1024)};
        QCOMPARE(sizes.join(", "), "0 KB, 999 KB, 1 MB, 4194 MB, -1 MB");
        const QStringList cores{CoreName(0), CoreName(0xFFFFFFFF), CoreName(0x0E0000FF),
            CoreName(0x1500FFFF), CoreName(0x15FFFFFF)}; // exact ids alone
        QCOMPARE(cores.join(", "), "None, Any, Cortex-M4, BT5511, ???");
    }

    void namesSortAsAReaderWouldSortThem()
    {
        const QStringList sorted{"", "1 x", "02", "2", "10", "18446744073709551617",
            "18446744073709551618", "a", "a1b", "A2", "a10", "STM32F40", "STM32F103", "stm32f407"};
        for (int left = 0; left < sorted.size(); ++left) {
            for (int right = 0; right < sorted.size(); ++right) {
                const int order = CompareNaturally(sorted[left], sorted[right]);
                QVERIFY2((order < 0) == (left < right) && (order == 0) == (left == right),
                    qPrintable(sorted[left] + " / " + sorted[right]));
            }
        }
    }

    void randomFiltersAndOrdersAgreeWithTheSlowWay()
    {
        auto random = SeededGenerator();
        std::vector<QByteArray> names;
        for (int row = 0; row < 300; ++row)
            names.push_back(
                QByteArrayList{"D", "\u00C4"}[Pick(random, 0, 1)] // folded as any letter
                + QByteArray::number(Pick(random, 0, 200)) + "*x"[row % 3]);
        std::vector<RanvoDeviceInfo> records;
        for (const QByteArray &name : names)
            records.push_back(
                MakeRecord("m", name.constData(), 0x010000FF, std::uint32_t(Pick(random, 0, 2)),
                    std::uint32_t(Pick(random, 0, 4)) << 18, std::uint32_t(random())));
        CDeviceDataModel model;
        CDeviceDataProxyModel proxy;
        proxy.setSourceModel(&model);
        const QAbstractItemModelTester tester(
            &proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.SetDevices(MakeDeviceRows(records.data(), int(records.size())));
        const QPersistentModelIndex filterCell = proxy.index(kFilterRow, kDeviceColumn);
        QSignalSpy removals(&proxy, &QAbstractItemModel::rowsRemoved);
        QSignalSpy resets(&proxy, &QAbstractItemModel::modelReset);

        const QStringList patterns{"*", "1", "d1*", "\u00E41*", "*1", "*x", "*1*", "MB", "**"};
        for (int round = 0; round < 60; ++round) {
            QStringList filters(kDeviceColumns, "*");
            for (int changes = 0; changes < 2; ++changes)
                filters[Pick(random, 0, kDeviceColumns - 1)]
                    = patterns[Pick(random, 0, int(patterns.size()) - 1)];
            const QPersistentModelIndex held = proxy.index(proxy.rowCount() / 2, kDeviceColumn);
            const int heldRow = proxy.mapToSource(held).row();
            for (int column = 0; column < kDeviceColumns; ++column)
                model.setData(model.index(kFilterRow, column), filters[column]);
            const int sorted = Pick(random, -1, kDeviceColumns - 1);
            proxy.sort(sorted);
            std::vector<int> wanted;
            for (int row = 1; row < model.rowCount(); ++row) {
                if (IsAccepted(model, row, filters))
                    wanted.push_back(row);
            }
            std::stable_sort(wanted.begin(), wanted.end(), [&](int left, int right) {
                return sorted >= 0
                    && CompareDevices(model.Device(left), model.Device(right), sorted) < 0;
            });
            std::vector<int> shown;
            for (int row = 1; row < proxy.rowCount(); ++row)
                shown.push_back(proxy.mapToSource(proxy.index(row, 0)).row());
            QCOMPARE(shown, wanted);
            // The model never loses rows by a reset: an index stays valid, or becomes invalid with
            // its row.
            QVERIFY(removals.isEmpty() && resets.isEmpty() && filterCell.row() == kFilterRow);
            QCOMPARE(held.isValid(), IsAccepted(model, heldRow, filters) || heldRow == kFilterRow);
            QVERIFY(!held.isValid() || proxy.mapToSource(held).row() == heldRow);
        }
    }

private:
    void Open(const std::vector<RanvoDeviceInfo> &records, const QString &name)
    {
        m_dialog = std::make_unique<CDeviceSelectionDialog>();
        m_dialog->SetDevices(records.data(), int(records.size()));
        m_dialog->SelectDevice(name);
        m_dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
        m_table = m_dialog->findChild<CTableView *>();
    }

    template <typename T> T *Child(const char *name) { return m_dialog->findChild<T *>(name); }
    QString Selected() { return Child<QLabel>("pLabelSelectedDevice")->text(); }
    QModelIndex Cell(int row, int column = kDeviceColumn)
    {
        return m_table->model()->index(row, column);
    }
    /// The open filter editor of a column.
    QComboBox *Editor(int column)
    {
        return qobject_cast<QComboBox *>(m_table->indexWidget(Cell(kFilterRow, column)));
    }
    /// From the table, or over what is in the editor.
    void TypeFilter(const QString &text)
    {
        QTest::keyClick(m_table, Qt::Key_F, Qt::ControlModifier);
        QTest::keyClick(Editor(kDeviceColumn), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(Editor(kDeviceColumn), text);
    }
    void Click(int row)
    {
        QTest::mouseClick(
            m_table->viewport(), Qt::LeftButton, {}, m_table->visualRect(Cell(row)).center());
    }

    std::unique_ptr<CDeviceSelectionDialog> m_dialog;
    CTableView *m_table = nullptr;
};

QTEST_MAIN(DeviceDialogTest)
#include "tst_devicedialog.moc"
