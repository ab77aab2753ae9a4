#pragma once

#include <QString>
#include <memory>

/// One kind of running target that the suite of behaviours is run against, and where it has what.
class ProbeRig {
public:
    struct Layout {
        quint32 quiet = 0;       ///< 1 KiB, readable and writable, that the target leaves alone
        quint32 holeBehind = 0;  ///< 64 readable bytes, then at least 64 that are not
        quint32 holeInFront = 0; ///< 64 unreadable bytes, then at least 64 readable ones
        quint32 unmapped = 0;    ///< 4 KiB that nothing answers
        quint32 counter = 0;     ///< a word that changes while the target runs
        quint32 big = 0;         ///< 64 KiB of readable memory
    };

    virtual ~ProbeRig() = default;

    /// Why the rig cannot run here; empty when it can.
    virtual QString Missing() { return {}; }

    /// Starts the target from scratch. False when it does not come up.
    virtual bool Start() = 0;
    /// Ends the target without a good-bye, as a pulled plug does.
    virtual void Kill() = 0;
    /// Stops and continues whatever answers the library. False when there is no such thing.
    virtual bool Freeze() { return false; }
    virtual void Thaw() { }

    /// Whether a client that leaves a frozen peer during the handshake leaves the target stopped
    /// until the next one comes. True only where the peer itself does so, whatever it was sent.
    virtual bool StopsWhenAbandoned() const { return false; }

    /// Selects the target for the next Open.
    virtual void Select() = 0;
    /// Whether the target's program runs, asked past the library.
    virtual bool TargetRuns() { return true; }
    virtual Layout Map() const = 0;
    /// How often the suite opens and closes in a row; a cycle takes from 0.1 ms to several ms.
    virtual int Cycles() const { return 300; }
};

std::unique_ptr<ProbeRig> MakeRig();
