#include "sysprocess.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

void SYS_PrepareProcess()
{
    int descriptor = -1;
    do {
        descriptor = open("/dev/null", O_RDWR); // the lowest free one
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}
