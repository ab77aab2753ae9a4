#include "cdevicedatamodel.h"
#include "cdevicedataproxymodel.h"
#include "devicefixture.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <memory>

constexpr const char *kInRecordOrder
    = "STM32F407IG|STM32F103C8|STM32F40|LPC4350_dual|RX610 big|Odd core|";

/// What the rules say, worked out the slow way.
static bool IsAccepted(const QAbstractItemModel &model, int row, const QStringList &patterns)
{
    for (int column = 0; column < kDeviceColumns; ++column) {
        const QString text = model.index(row, column).data().toString();
        const QString &pattern = patterns[column];
        bool matches = true;
        if (pattern.startsWith('*'))
            matches = text.endsWith(pattern.mid(1), Qt::CaseInsensitive);
        else if (pattern.endsWith('*'))
            matches = text.startsWith(pattern.chopped(1), Qt::CaseInsensitive);
        else
            matches = text.contains(pattern, Qt::CaseInsensitive);
        if (!matches)
            return false;
    }
    return true;
}

class DeviceModelTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_records = MakeDeviceRecords();
        m_model = std::make_unique<CDeviceDataModel>();
        m_proxy = std::make_unique<CDeviceDataProxyModel>();
        m_proxy->setSourceModel(m_model.get());
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_proxy.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        Load();
    }

    void cleanup()
    {
        m_tester.reset();
        m_proxy.reset();
        m_model.reset();
    }

    void aFilterIsOneChangeOfLayoutThatKeepsWhatIsHeld()
    {
        const QPersistentModelIndex filterCell = m_proxy->index(kFilterRow, kDeviceColumn);
        const QPersistentModelIndex kept = m_proxy->index(3, kDeviceColumn); // STM32F40
        const QPersistentModelIndex dropped = m_proxy->index(4, kDeviceColumn);
        QSignalSpy layouts(m_proxy.get(), &QAbstractItemModel::layoutChanged);
        QSignalSpy removals(m_proxy.get(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy resets(m_proxy.get(), &QAbstractItemModel::modelReset);

        QVERIFY(m_proxy->setData(filterCell, "f4"));
        QCOMPARE(ShownNames(), "STM32F407IG|STM32F40");
        QCOMPARE(layouts.size(), 1);
        QVERIFY(removals.isEmpty() && resets.isEmpty());
        QCOMPARE(filterCell.row(), kFilterRow);
        QCOMPARE(filterCell.data().toString(), "f4");
        QCOMPARE(kept.row(), 2);
        QVERIFY(!dropped.isValid());

        QVERIFY(m_proxy->setData(filterCell, ""));
        QCOMPARE(ShownNames(), kInRecordOrder);
        QCOMPARE(filterCell.data().toString(), "*");
    }

    void randomFiltersAndOrdersAgreeWithTheSlowWay()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        m_names.clear();
        m_records.clear();
        for (int row = 0; row < 300; ++row)
            m_names.push_back("D" + QByteArray::number(random.bounded(200)) + "*x"[row % 3]);
        for (const QByteArray &name : m_names)
            m_records.push_back(MakeRecord("m", name.constData(), 0x010000FF, random.bounded(3U),
                random.bounded(5U) << 18, random.generate()));
        Load();

        const QStringList patterns{"*", "1", "d1*", "*1", "*x", "*1*", "MB", "5* ", "**"};
        for (int round = 0; round < 60; ++round) {
            QStringList filters(kDeviceColumns, "*");
            for (int changes = 0; changes < 2; ++changes)
                filters[random.bounded(int(kDeviceColumns))]
                    = patterns[random.bounded(int(patterns.size()))];
            for (int column = 0; column < kDeviceColumns; ++column)
                m_model->setData(m_model->index(kFilterRow, column), filters[column]);
            const int column = random.bounded(-1, int(kDeviceColumns));
            m_proxy->sort(column);
            CompareWithTheSlowWay(filters, column);
        }
    }

private:
    void Load()
    {
        m_model->SetDevices(MakeDeviceRows(m_records.data(), static_cast<int>(m_records.size())));
    }

    QString ShownNames() const
    {
        QStringList names;
        for (int row = 1; row < m_proxy->rowCount(); ++row)
            names.append(m_proxy->index(row, kDeviceColumn).data().toString());
        return names.join(u'|');
    }

    void CompareWithTheSlowWay(const QStringList &filters, int sortColumn)
    {
        int accepted = 0;
        for (int row = 1; row < m_model->rowCount(); ++row) {
            const QModelIndex shown = m_proxy->mapFromSource(m_model->index(row, 0));
            QCOMPARE(shown.isValid(), IsAccepted(*m_model, row, filters));
            accepted += shown.isValid() ? 1 : 0;
        }
        QCOMPARE(m_proxy->rowCount(), accepted + 1);
        for (int row = 1; row < m_proxy->rowCount(); ++row) {
            const QModelIndex source = m_proxy->mapToSource(m_proxy->index(row, 0));
            QCOMPARE(m_proxy->mapFromSource(source).row(), row);
            if (row == 1)
                continue;
            const int above = m_proxy->mapToSource(m_proxy->index(row - 1, 0)).row();
            const int order = sortColumn < 0
                ? 0
                : CompareDevices(m_model->Device(above), m_model->Device(source.row()), sortColumn);
            QVERIFY(order < 0 || (order == 0 && above < source.row()));
        }
    }

    std::vector<QByteArray> m_names;
    std::vector<RanvoDeviceInfo> m_records;
    std::unique_ptr<CDeviceDataModel> m_model;
    std::unique_ptr<CDeviceDataProxyModel> m_proxy;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_MAIN(DeviceModelTest)
#include "tst_devicemodel.moc"
