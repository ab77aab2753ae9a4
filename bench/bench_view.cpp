// Measures the times of the memory view's operations. Their instructions, which are exactly
// repeatable, are counted by count_view under valgrind; see run.
#include "viewcases.h"

#include <QApplication>

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    for (const std::string_view name : ViewCaseNames()) {
        benchmark::RegisterBenchmark(std::string(name).c_str(), [name](benchmark::State &state) {
            const auto operation = MakeViewCase(name);
            for (int warmUp = 0; warmUp < 200; ++warmUp)
                operation->Run();
            for ([[maybe_unused]] auto step : state)
                operation->Run();
        });
    }
    benchmark::RunSpecifiedBenchmarks();
}
