#pragma once

#include <QtGlobal>

// Sockets of this machine alone, closed by the caller.

/// A socket that listens at a TCP port of 127.0.0.1 that nobody else uses.
/// @param backlog  how many connections may wait to be accepted; one more is let in, later ones get
///                 no answer
int ListenOnLoopback(quint16 *port, int backlog = 8);

/// A socket that is connected to a TCP port of 127.0.0.1, or -1.
int ConnectToLoopback(quint16 port);
