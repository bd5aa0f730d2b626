// The product that this process runs on. Internal.
#pragma once

#include "product/CProductID.h"

namespace qel::config {

inline const CProductID productID;

}  // namespace qel::config
