#pragma once

#include "device.h"

/// The one camera record of the process. Any thread; see SVideoDevice for its fields.
SVideoDevice& obriCam();
