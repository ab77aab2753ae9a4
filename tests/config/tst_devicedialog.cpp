#include "cdevicedatamodel.h"
#include "cdeviceselectiondialog.h"
#include "ctableview.h"
#include "devicefixture.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

#include <functional>
#include <memory>

class DeviceDialogTest : public QObject {
    Q_OBJECT

private slots:
    void init() { Open(MakeDeviceRecords(), QStringLiteral("STM32F103C8")); }
    void cleanup() { m_dialog.reset(); }

    void itOpensOnTheCurrentDevice()
    {
        std::vector<QByteArray> names(2000);
        std::vector<RanvoDeviceInfo> records;
        for (int row = 0; row < 2000; ++row) {
            names[std::size_t(row)] = "Chip" + QByteArray::number(row);
            records.push_back(MakeRecord("Maker", names[std::size_t(row)].constData(), 0, 1, 0, 0));
        }
        Open(records, QStringLiteral("Chip1500"));
        QCOMPARE(SelectedText(), "Chip1500");
        QVERIFY(m_table->viewport()->rect().contains(m_table->visualRect(Row("Chip1500"))));
        QVERIFY(m_table->hasFocus());
        QVERIFY(!m_dialog->windowIcon().availableSizes().isEmpty());

        // Out of sight, and back by a click on the name.
        m_table->verticalScrollBar()->setValue(0);
        QTest::mouseClick(Child<QLabel>("pLabelSelectedDevice"), Qt::LeftButton);
        QVERIFY(m_table->viewport()->rect().contains(m_table->visualRect(Row("Chip1500"))));

        // The strip that stands for the filter row leads to it, and hides no row moved to.
        QWidget *strip = m_dialog->findChild<QWidget *>("pFilterStrip");
        QVERIFY(strip->isVisible());
        m_table->scrollTo(m_table->model()->index(700, 0));
        QVERIFY(m_table->visualRect(m_table->model()->index(700, 0)).top() >= strip->height());
        QTest::mouseClick(strip, Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(FilterEditor() != nullptr);
        QVERIFY(!strip->isVisible());
    }

    void everyWayOutHandsBackWhatIsSelectedOrNothing()
    {
        Click("RX610 big");
        QTest::mouseDClick(m_table->viewport(), Qt::RightButton, {},
            m_table->visualRect(Row("RX610 big")).center());
        QVERIFY(m_dialog->Selection().accepted && m_dialog->Selection().bigEndian);
        QCOMPARE(m_dialog->Selection().deviceName, "RX610 big");
        init();
        Click("RX610 big");
        QTest::keyClick(m_table, Qt::Key_Escape);
        QVERIFY(!m_dialog->isVisible() && !m_dialog->Selection().accepted);
        QVERIFY(m_dialog->Selection().deviceName.isEmpty());
    }

    void clicksAndArrowKeysSelectAlike()
    {
        Click("RX610 big");
        QCOMPARE(SelectedText(), "RX610 big");
        QCOMPARE(Child<QComboBox>("pComboBoxEndian")->currentText(), "Big Endian");
        QTest::keyClick(m_table, Qt::Key_Up);
        QCOMPARE(SelectedText(), "LPC4350_dual");
        QCOMPARE(Child<QComboBox>("pComboBoxEndian")->currentText(), "Little Endian");
        auto *cores = Child<QComboBox>("pComboBoxCore");
        QCOMPARE(cores->count(), 2);
        QVERIFY(!cores->isEnabled() && !cores->toolTip().isEmpty()); // it says why
        cores->setCurrentIndex(1);
        QTest::keyClick(m_table, Qt::Key_Return);
        const DeviceSelection &result = m_dialog->Selection();
        QVERIFY(result.accepted && !m_dialog->isVisible());
        QCOMPARE(result.deviceName, "LPC4350_dual");
        QCOMPARE(result.selectedRow, 4U);
        QCOMPARE(result.coreIndex, 1U);
        QVERIFY(!result.bigEndian);
    }

    void typingInTheFilterRowFiltersAndEnterGoesToTheDevices()
    {
        QTest::mouseClick(m_table->viewport(), Qt::LeftButton, {},
            m_table->visualRect(m_table->model()->index(kFilterRow, kDeviceColumn)).center());
        QTest::keyClicks(FilterEditor(), "f40*");
        QTRY_COMPARE(m_table->model()->rowCount(), 1);
        for (int key = 0; key < 4; ++key)
            QTest::keyClick(FilterEditor(), Qt::Key_Backspace);
        QTRY_COMPARE(m_table->model()->rowCount(), 8);
        QTest::keyClicks(FilterEditor(), "*7ig");
        // No wait: what was typed last counts even if the editor closes at once.
        QTest::keyClick(FilterEditor(), Qt::Key_Return);
        QCOMPARE(m_table->model()->rowCount(), 2);
        QVERIFY(FilterEditor() == nullptr);
        QVERIFY(m_table->hasFocus());
        QCOMPARE(SelectedText(), "STM32F407IG");
        QVERIFY(m_dialog->isVisible());
        QTest::keyClick(m_table, Qt::Key_Return);
        QVERIFY(m_dialog->Selection().accepted);
    }

    void theFilterRowWorksWithoutAMouse()
    {
        QTest::keyClick(m_table, Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(EditedColumn(), int(kDeviceColumn));
        QTest::keyClick(FilterEditor(), Qt::Key_Tab);
        QCOMPARE(EditedColumn(), int(kCoreColumn));
        QTest::keyClick(FilterEditor(), Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(EditedColumn(), int(kDeviceColumn));
        QTest::keyClick(FilterEditor(), Qt::Key_Backtab, Qt::ShiftModifier);
        QTest::keyClick(FilterEditor(), Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(EditedColumn(), -1);
        QCOMPARE(SelectedText(), "STM32F103C8");
        QTest::keyClick(m_table, Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(FilterEditor(), "f4");
        QTest::keyClick(FilterEditor(), Qt::Key_Return);
        QTest::keyClick(m_table, Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(FilterEditor(), "gone");
        QTRY_COMPARE(m_table->model()->rowCount(), 1);
        QTest::keyClick(FilterEditor(), Qt::Key_Escape); // back to the filter before
        QVERIFY(m_dialog->isVisible());
        QCOMPARE(EditedColumn(), -1);
        QCOMPARE(m_table->model()->rowCount(), 3);
        QTest::keyClick(m_table, Qt::Key_Escape);
        QVERIFY(!m_dialog->isVisible());
    }

    void aFilterBoxOffersTheColumnsTexts()
    {
        QTest::keyClick(m_table, Qt::Key_F, Qt::ControlModifier);
        auto *box = m_table->viewport()->findChild<QComboBox *>();
        QVERIFY(box != nullptr && box->isEditable());
        QStringList offered;
        for (int item = 0; item < box->count(); ++item)
            offered.append(box->itemText(item));
        QCOMPARE(offered,
            QStringList({"*", "LPC4350_dual", "Odd core", "RX610 big", "*STM32F40", "STM32F103C8",
                "STM32F407IG"}));
        box->setCurrentIndex(4);
        QTRY_COMPARE(m_table->model()->rowCount(), 2); // STM32F40 also begins STM32F407IG
        // What a user types is never completed to a name he did not ask for.
        QTest::keyClick(box->lineEdit(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(box->lineEdit(), "lpc");
        QCOMPARE(box->lineEdit()->text(), "lpc");
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
        int offered = 0;
        for (int column = 0; column < kDeviceColumns; ++column) {
            m_table->EditFilter(column);
            auto *const box
                = qobject_cast<QComboBox *>(m_table->indexWidget(model->index(0, column)));
            QStringList patterns;
            for (int item = 1; item < box->count(); ++item)
                patterns.append(box->itemText(item));
            for (const QString &pattern : patterns) {
                model->setData(model->index(kFilterRow, column), pattern);
                QSet<QString> kept;
                for (int row = 1; row < model->rowCount(); ++row)
                    kept.insert(model->index(row, column).data().toString().toLower());
                QVERIFY2(kept.size() == 1 && pattern.contains(*kept.begin(), Qt::CaseInsensitive),
                    qPrintable(pattern));
                ++offered;
            }
            model->setData(model->index(kFilterRow, column), QString());
            if (column == kFlashSizeColumn)
                QCOMPARE(patterns.join(u'|'), "0 KB*|8 KB*|48 KB|80 KB|128 KB|768 KB");
            if (column == kNumCoresColumn)
                QCOMPARE(patterns.join(u'|'), "10|48|80|128|768"); // no pattern keeps 8 alone
        }
        QVERIFY(offered > 20);
    }

    void oneClickOnTheArrowOpensTheList()
    {
        for (const int scrolledPx : {0, 50}) { // and on the strip that stands for the row
            m_dialog->resize(m_dialog->width(), 200);
            m_table->verticalScrollBar()->setValue(scrolledPx);
            const QRect cell
                = m_table->visualRect(m_table->model()->index(kFilterRow, kCoreColumn));
            QWidget *const strip = m_dialog->findChild<QWidget *>("pFilterStrip");
            QTest::mouseClick(strip->isVisible() ? strip : m_table->viewport(), Qt::LeftButton, {},
                QPoint(cell.right() - 5, 5));
            auto *const box = qobject_cast<QComboBox *>(
                m_table->indexWidget(m_table->model()->index(kFilterRow, kCoreColumn)));
            QVERIFY(box != nullptr);
            QTRY_VERIFY(box->view()->isVisible());
            box->hidePopup();
            QTest::keyClick(box, Qt::Key_Escape);
        }
    }

    void aChosenByteOrderStandsUntilAnotherDeviceIsChosen()
    {
        Child<QComboBox>("pComboBoxEndian")->setCurrentIndex(1);
        Click("STM32F103C8");
        QTest::mouseDClick(m_table->viewport(), Qt::LeftButton, {},
            m_table->visualRect(Row("STM32F103C8")).center());
        QVERIFY(m_dialog->Selection().accepted && m_dialog->Selection().bigEndian);
        init();
        Child<QComboBox>("pComboBoxEndian")->setCurrentIndex(1);
        Click("LPC4350_dual");
        QCOMPARE(Child<QComboBox>("pComboBoxEndian")->currentText(), "Little Endian");
    }

    void headersSortAndKeepTheFilterRow()
    {
        auto *header = m_table->horizontalHeader();
        QCOMPARE(header->sortIndicatorSection(), -1);
        for (int column = 0; column < kDeviceColumns; ++column) // room for title and mark
            QVERIFY(header->sectionSize(column) >= header->sectionSizeHint(column));
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
            QPoint(header->sectionViewportPosition(kFlashSizeColumn) + 10, 5));
        QCOMPARE(m_table->model()->index(0, kDeviceColumn).data().toString(), "*");
        QCOMPARE(m_table->model()->index(7, kDeviceColumn).data().toString(), "RX610 big");
        QCOMPARE(SelectedText(), "STM32F103C8");
    }

    void brokenListsAreShownAndHarmNothing()
    {
        Open({}, QStringLiteral("gone"));
        QCOMPARE(m_table->model()->rowCount(), 1);
        QCOMPARE(SelectedText(), "");
        m_dialog->OnButtonAcceptClicked();
        QVERIFY(m_dialog->Selection().accepted);
        QVERIFY(m_dialog->Selection().deviceName.isEmpty());

        Open({MakeRecord(nullptr, "endless", 7, 0xFFFFFFFF, 0, 0, 99)}, QStringLiteral("endless"));
        QVERIFY(Child<QComboBox>("pComboBoxCore")->count() <= 256);
        QCOMPARE(Child<QComboBox>("pComboBoxEndian")->currentIndex(), 0);
    }

    void aRunPresetsTheFiltersAndHandsThemBack()
    {
        const auto records = MakeDeviceRecords();
        DeviceSelection result;
        QString filters = QStringLiteral("\tstm*");
        InRun([](CDeviceSelectionDialog *dialog, CTableView *table) {
            QCOMPARE(table->model()->rowCount(), 4);
            table->model()->setData(table->model()->index(kFilterRow, kCoreColumn), "m4");
            dialog->OnButtonAcceptClicked();
        });
        CDeviceSelectionDialog::Run(result, records.data(), 7, filters, false, "STM32F40");
        QCOMPARE(filters, "\tstm*\tm4\t\t\t");
        QCOMPARE(result.deviceName, "STM32F40");

        QString none;
        InRun([](CDeviceSelectionDialog *dialog, CTableView *table) {
            QCOMPARE(table->model()->rowCount(), 2);
            dialog->OnButtonRejectClicked();
        });
        CDeviceSelectionDialog::Run(result, records.data(), 7, none, true, "LPC4350_dual");
        QVERIFY(!result.accepted && none.isEmpty());
    }

private:
    void Open(const std::vector<RanvoDeviceInfo> &records, const QString &name)
    {
        m_dialog = std::make_unique<CDeviceSelectionDialog>();
        m_dialog->SetDevices(records.data(), static_cast<int>(records.size()));
        m_dialog->SelectDevice(name);
        m_dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
        m_table = m_dialog->findChild<CTableView *>();
    }

    /// Does something inside the next modal run.
    void InRun(const std::function<void(CDeviceSelectionDialog *, CTableView *)> &act)
    {
        QMetaObject::invokeMethod(
            this,
            [act] {
                auto *dialog
                    = qobject_cast<CDeviceSelectionDialog *>(QApplication::activeModalWidget());
                QVERIFY(dialog != nullptr);
                act(dialog, dialog->findChild<CTableView *>());
            },
            Qt::QueuedConnection);
    }

    template <typename T> T *Child(const char *name) { return m_dialog->findChild<T *>(name); }
    QString SelectedText() { return Child<QLabel>("pLabelSelectedDevice")->text(); }

    /// The open filter editor when it has the keyboard.
    QWidget *FilterEditor()
    {
        QWidget *focus = QApplication::focusWidget();
        return m_table->viewport()->isAncestorOf(focus) ? focus : nullptr;
    }

    QModelIndex Row(const QString &name) const
    {
        const QModelIndexList hits = m_table->model()->match(
            m_table->model()->index(1, kDeviceColumn), Qt::DisplayRole, name, 1, Qt::MatchExactly);
        return hits.value(0);
    }

    void Click(const QString &name)
    {
        QTest::mouseClick(
            m_table->viewport(), Qt::LeftButton, {}, m_table->visualRect(Row(name)).center());
    }

    int EditedColumn() const
    {
        for (int column = 0; column < kDeviceColumns; ++column) {
            const QWidget *editor = m_table->indexWidget(m_table->model()->index(0, column));
            if (editor != nullptr && editor->isVisible())
                return column;
        }
        return -1;
    }

    std::unique_ptr<CDeviceSelectionDialog> m_dialog;
    CTableView *m_table = nullptr;
};

QTEST_MAIN(DeviceDialogTest)
#include "tst_devicedialog.moc"
