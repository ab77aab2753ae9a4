#pragma once

#include "custmdiarea.h"

/// The logo of the empty document area: a PNG that lives in the program.
ImageReference APP_LogoImage();
