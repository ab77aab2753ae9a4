#include "hostmessages.h"

#include <QCoreApplication>
#include <QString>

#include <algorithm>
#include <deque>

struct HostMessages::Queue {
    struct Message {
        QString text;
        int severity;
        bool operator==(const Message &) const = default;
    };

    ShowFunction show = nullptr;
    std::deque<Message> waiting;
    bool isShowing = false;
    bool isPosted = false; // the event loop has been asked to show what waits

    void ShowAll()
    {
        if (isShowing)
            return;
        isShowing = true;
        while (!waiting.empty() && show != nullptr) {
            const Message message = waiting.front();
            waiting.pop_front();
            show(message.text, message.severity);
        }
        isShowing = false;
    }
};

HostMessages::HostMessages()
    : m_queue(std::make_shared<Queue>())
{
}

void HostMessages::SetHost(ShowFunction show)
{
    m_queue->show = show;
    if (show == nullptr)
        m_queue->waiting.clear();
}

void HostMessages::Add(const QString &text, int severity) const
{
    if (m_queue->show == nullptr)
        return;
    m_queue->waiting.push_back({text, severity});
    if (m_queue->isPosted || QCoreApplication::instance() == nullptr)
        return;
    m_queue->isPosted = true;
    const auto later = [queue = m_queue] {
        queue->isPosted = false;
        queue->ShowAll();
    };
    QMetaObject::invokeMethod(QCoreApplication::instance(), later, Qt::QueuedConnection);
}

void HostMessages::AddOnce(const QString &text, int severity) const
{
    const auto &waiting = m_queue->waiting;
    if (std::find(waiting.begin(), waiting.end(), Queue::Message{text, severity}) == waiting.end())
        Add(text, severity);
}

void HostMessages::Show() const
{
    const std::shared_ptr<Queue> queue = m_queue; // this object may go with the window
    queue->ShowAll();
}
