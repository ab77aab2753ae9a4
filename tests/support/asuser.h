#pragma once

#include <QFile>

#include <unistd.h>

/// Gives up root's privileges while one of these exists, so that the modes of files count. A test
/// that another user runs stays that user.
class AsUser {
public:
    AsUser() { Become(kNobody); }
    ~AsUser() { Become(0); }
    Q_DISABLE_COPY_MOVE(AsUser)

    /// Who the user is.
    static uid_t Id() { return getuid() == 0 ? kNobody : getuid(); }
    /// Makes the user the owner of a file.
    static void GiveAway(const QString &path)
    {
        if (getuid() == 0 && chown(QFile::encodeName(path), kNobody, kNobody) != 0)
            qFatal("cannot give a file away");
    }

private:
    static constexpr uid_t kNobody = 65534;
    /// The way back stays open: that is what the saved user is for.
    static void Become(uid_t user)
    {
        uid_t real = 0;
        uid_t effective = 0;
        uid_t saved = 0;
        getresuid(&real, &effective, &saved);
        if (saved == 0 && setresuid(user, user, 0) != 0)
            qFatal("cannot change the user");
    }
};
