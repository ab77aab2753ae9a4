// How long one key typed into the device dialog's filter row takes with 12,000 devices, beside a
// plain loop over the same prepared texts. The counter "x_loop" is the ratio to that loop.

#include "cdevicedatamodel.h"
#include "cdevicedataproxymodel.h"
#include "ctableview.h"

#include <QApplication>
#include <QHeaderView>
#include <QSortFilterProxyModel>

#include <benchmark/benchmark.h>

#include <array>
#include <ctime>
#include <memory>

namespace {

constexpr int kDevices = 12000;
/// What the filter cell holds while a user types a name and deletes it again.
const QStringList kKeystrokes{"s", "st", "stm", "stm3", "stm32", "stm32f", "stm32f4", "stm32f",
    "stm32", "stm3", "stm", "st", "s", ""};

std::vector<DeviceRow> MakeDevices()
{
    static const std::array<const char *, 4> families{"STM32F", "LPC", "R7FA", "ATSAM"};
    std::vector<QByteArray> names;
    names.reserve(kDevices);
    for (int device = 0; device < kDevices; ++device)
        names.push_back(families[static_cast<std::size_t>(device) % families.size()]
            + QByteArray::number(100 + device * 37 % 9000) + "IG");
    std::vector<RanvoDeviceInfo> records(kDevices);
    for (std::size_t device = 0; device < records.size(); ++device) {
        records[device].name = names[device].constData();
        records[device].manufacturer = "Maker";
        records[device].coreId = 0x0E0000FF;
        records[device].flashSize = 0x10000U << (device % 6);
    }
    return MakeDeviceRows(records.data(), kDevices);
}

int CountMatches(const std::vector<DeviceRow> &devices, const QString &foldedText)
{
    int matches = 0;
    for (const DeviceRow &device : devices)
        matches += device.folded[kDeviceColumn].contains(foldedText) ? 1 : 0;
    return matches;
}

/// Processor time, which other programs of the machine do not lengthen.
double ToNs(std::clock_t ticks)
{
    return static_cast<double>(ticks) * 1e9 / CLOCKS_PER_SEC;
}

/// Nanoseconds per key of the plain loop, measured in this very run.
double LoopNs()
{
    static const double loopNs = [] {
        const auto devices = MakeDevices();
        constexpr int kRounds = 40;
        const std::clock_t start = std::clock();
        for (int round = 0; round < kRounds; ++round)
            for (const QString &text : kKeystrokes)
                benchmark::DoNotOptimize(CountMatches(devices, text));
        return ToNs(std::clock() - start) / (kRounds * static_cast<double>(kKeystrokes.size()));
    }();
    return loopNs;
}

/// Runs one key per iteration and reports the ratio to the loop.
template <typename Key> void TypeKeys(benchmark::State &state, Key typeKey)
{
    const double loopNs = LoopNs();
    qsizetype key = 0;
    const std::clock_t start = std::clock();
    for (auto _ : state) {
        typeKey(kKeystrokes[key]);
        key = (key + 1) % kKeystrokes.size();
    }
    const double spentNs = ToNs(std::clock() - start);
    state.counters["x_loop"] = spentNs / static_cast<double>(state.iterations()) / loopNs;
}

void PlainLoop(benchmark::State &state)
{
    const auto devices = MakeDevices();
    TypeKeys(
        state, [&](const QString &text) { benchmark::DoNotOptimize(CountMatches(devices, text)); });
}
BENCHMARK(PlainLoop)->Unit(benchmark::kMicrosecond);

/// The dialog's model, proxy and, when asked for, its table on an offscreen window.
struct Table {
    explicit Table(QAbstractProxyModel *filter)
        : proxy(filter)
    {
        model.SetDevices(MakeDevices());
        proxy->setSourceModel(&model);
    }

    void Show()
    {
        view = std::make_unique<CTableView>();
        view->setModel(proxy.get());
        view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
        view->resize(854, 387);
        view->show();
        QApplication::processEvents();
    }

    CDeviceDataModel model;
    std::unique_ptr<QAbstractProxyModel> proxy;
    std::unique_ptr<CTableView> view;
};

void TypeInto(benchmark::State &state, Table &table)
{
    const QModelIndex cell = table.model.index(kFilterRow, kDeviceColumn);
    TypeKeys(state, [&](const QString &text) {
        table.model.setData(cell, text);
        benchmark::DoNotOptimize(table.proxy->rowCount());
        if (table.view != nullptr)
            QApplication::processEvents(); // layout and paint belong to the key
    });
}

void Refilter(benchmark::State &state)
{
    Table table(new CDeviceDataProxyModel);
    TypeInto(state, table);
}
BENCHMARK(Refilter)->Unit(benchmark::kMicrosecond);

void RefilterSorted(benchmark::State &state)
{
    Table table(new CDeviceDataProxyModel);
    table.proxy->sort(kDeviceColumn);
    TypeInto(state, table);
}
BENCHMARK(RefilterSorted)->Unit(benchmark::kMicrosecond);

void RefilterAndPaint(benchmark::State &state)
{
    Table table(new CDeviceDataProxyModel);
    table.Show();
    TypeInto(state, table);
}
BENCHMARK(RefilterAndPaint)->Unit(benchmark::kMicrosecond);

/// The toolkit's own filtering proxy, which announces each run of rows that comes or goes.
class StockProxy : public QSortFilterProxyModel {
public:
    void ApplyFilter() { invalidateFilter(); }
    bool filterAcceptsRow(int row, const QModelIndex &) const override
    {
        const auto *devices = static_cast<const CDeviceDataModel *>(sourceModel());
        return row == kFilterRow
            || devices->Device(row).folded[kDeviceColumn].contains(
                devices->FilterText(kDeviceColumn));
    }
};

void StockProxyAndPaint(benchmark::State &state)
{
    auto *stock = new StockProxy;
    Table table(stock);
    QObject::connect(
        &table.model, &QAbstractItemModel::dataChanged, stock, [stock] { stock->ApplyFilter(); });
    table.Show();
    TypeInto(state, table);
}
BENCHMARK(StockProxyAndPaint)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
