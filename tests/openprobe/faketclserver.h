#pragma once

#include "scriptedpeer.h"

/// What OpenOCD's Tcl server with one target answers to a command, complete with the end mark; null
/// to hang up.
using TclAnswer = std::function<QByteArray(const QByteArray &command)>;

/// The answers of a well-behaved server whose memory holds the low byte of TclMemory at each place.
QByteArray PoliteTclAnswer(const QByteArray &command);
quint8 TclMemory(quint32 address);

/// Brings what a server sends to the client: the answer, or whatever becomes of it on the way.
using TclDelivery = std::function<bool(ScriptedPeer &peer, const QByteArray &answer)>;

/// Serves one connection: takes the numbered requests apart and puts the numbers before the
/// answers.
void ServeTcl(ScriptedPeer &peer, const TclAnswer &answer, const TclDelivery &deliver = {});
