#include "rememberedfiles.h"

#include <QDir>
#include <QSettings>
#include <QStringList>
#include <QVariant>

namespace {

QString KeyOf(RememberedFile which)
{
    return which == RememberedFile::Open
        ? QStringLiteral("AppData/HexEditorMemDialog/DefaultDirOpen")
        : QStringLiteral("AppData/HexEditorMemDialog/DefaultDirSave");
}

} // namespace

QString MEMFILE_Remembered(RememberedFile which)
{
    const QString otherwise = QDir::homePath() + QLatin1String("/data.bin");
    const QVariant value = QSettings().value(KeyOf(which), otherwise);
    // A path with a comma in it, typed into the file by hand, arrives as a list.
    const bool isList = value.userType() == QMetaType::QStringList;
    return isList ? value.toStringList().join(u", ") : value.toString();
}

void MEMFILE_Remember(RememberedFile which, const QString &fileName)
{
    QSettings().setValue(KeyOf(which), fileName);
}
