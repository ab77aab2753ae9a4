#pragma once

#include <memory>

class QString;

/// The messages of one memory window on their way to its host.
///
/// A host may run events while it shows a message, or delete the window. So a message is kept until
/// its command has ended, when nothing that follows needs the window. Messages that no command
/// shows are shown from the event loop. Copies share one queue. GUI thread only.
class HostMessages {
public:
    using ShowFunction = void (*)(const QString &text, int severity);

    HostMessages();
    /// @param show  null: messages are dropped from now on, those that wait as well
    void SetHost(ShowFunction show);
    /// @param severity  kMessageInformation or kMessageError
    void Add(const QString &text, int severity) const;
    /// As Add, unless the same message waits already.
    void AddOnce(const QString &text, int severity) const;
    /// Shows the messages that wait, in order. The window may be gone when this returns. Does
    /// nothing while a message is being shown: that call of Show goes on with the others.
    void Show() const;

private:
    struct Queue;
    std::shared_ptr<Queue> m_queue; // outlives the window while a message is up
};
