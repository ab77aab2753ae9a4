#pragma once

#include <QtTest>

#include <cstdint>
#include <random>

/// A generator for tests over random operations. Its seed is printed, so that a failure can be
/// replayed with PELIMO_TEST_SEED in the environment.
inline std::mt19937_64 SeededGenerator()
{
    const QByteArray given = qgetenv("PELIMO_TEST_SEED");
    const quint64 seed = given.isEmpty() ? std::random_device{}() : given.toULongLong();
    qInfo("PELIMO_TEST_SEED=%llu", seed);
    return std::mt19937_64(seed);
}

/// A number from first to last, both included.
inline int Pick(std::mt19937_64 &generator, int first, int last)
{
    return std::uniform_int_distribution<int>(first, last)(generator);
}

inline std::uint64_t Pick(std::mt19937_64 &generator, std::uint64_t first, std::uint64_t last)
{
    return std::uniform_int_distribution<std::uint64_t>(first, last)(generator);
}
