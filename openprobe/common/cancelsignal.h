#pragma once

namespace OpenProbe {

/// A signal that ends every wait of the library at once. It stays raised until it is cleared.
///
/// Any thread may raise it; a waiting thread passes Descriptor() to poll() beside its own.
class CancelSignal {
public:
    CancelSignal();
    CancelSignal(const CancelSignal &) = delete;
    CancelSignal &operator=(const CancelSignal &) = delete;
    ~CancelSignal();

    void Raise() const noexcept;
    void Clear() const noexcept;

    /// Waits at most timeoutMs. True when the signal is raised.
    [[nodiscard]] bool WaitFor(int timeoutMs) const noexcept;
    [[nodiscard]] bool IsRaised() const noexcept { return WaitFor(0); }

    /// Readable while the signal is raised; -1 when the system refused to create one.
    [[nodiscard]] int Descriptor() const noexcept { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace OpenProbe
