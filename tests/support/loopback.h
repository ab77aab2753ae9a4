#pragma once

#include <QtGlobal>

#include <netinet/in.h>

// Sockets of this machine alone.

/// The address of a TCP port of 127.0.0.1.
sockaddr_in Loopback(quint16 port);

/// A socket that listens at a TCP port of 127.0.0.1 that nobody else uses.
/// @param backlog  how many connections wait to be accepted; one more is let in, the next ones hang
int ListenOnLoopback(quint16 *port, int backlog = 8);
