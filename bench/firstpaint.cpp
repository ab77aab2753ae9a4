// Preloaded into a program: ends it as soon as its first window has been painted and prints the
// memory that it has then. So the start of any two programs can be compared.
#include <QCoreApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

/// @return resident memory in KiB
long ResidentKiB()
{
    long resident = 0;
    if (std::FILE *status = std::fopen("/proc/self/status", "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, status) != nullptr) {
            if (std::strncmp(line, "VmRSS:", 6) == 0)
                std::sscanf(line + 6, "%ld", &resident);
        }
        std::fclose(status);
    }
    return resident;
}

class FirstPaint : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
            // Behind the paint that is about to begin, children included.
            QTimer::singleShot(0, [] {
                std::printf("resident %ld\n", ResidentKiB());
                std::fflush(stdout);
                _exit(0);
            });
        }
        return false;
    }
};

void Install()
{
    QCoreApplication::instance()->installEventFilter(new FirstPaint(qApp));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Install)
