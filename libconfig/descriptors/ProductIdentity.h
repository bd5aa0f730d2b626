// The product that this process runs on. A program that calls its operations links the device's
// product library, where that is a shared one.
#pragma once

#include "libconfig/base/Export.h"
#include "product/CProductID.h"

extern LIBCONFIG_API CProductID productID;
