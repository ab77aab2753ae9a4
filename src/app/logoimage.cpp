#include "logoimage.h"

#include <QResource>

ImageReference APP_LogoImage()
{
    const QResource logo(QStringLiteral(":/Resources/logo.png"));
    // Stored without compression (see the resource list): the bytes in place are the image's own.
    return {logo.data(), static_cast<int>(logo.size()), "PNG"};
}
