// The host's stand-in for the device's product identification. The environment variable
// LIBCONFIG_PRODUCT (quarn, vimble or crandle; quarn when unset) chooses the model.
#include <strings.h>

#include <cstdlib>

#include "libconfig/base/Diagnostics.h"
#include "product/CProductID.h"
#include "product/SerialNumber_Quarn.h"

namespace {

CProductID::eProductID_t ChosenProduct() {
  const char* const name = std::getenv("LIBCONFIG_PRODUCT");
  if (name == nullptr || *name == '\0') return CProductID::eProduct_Quarn;
  if (::strcasecmp(name, "vimble") == 0) return CProductID::eProduct_Vimble;
  if (::strcasecmp(name, "crandle") == 0) return CProductID::eProduct_Crandle;
  if (::strcasecmp(name, "quarn") != 0) {
    qel::config::Report(
        "LIBCONFIG_PRODUCT is \"%s\"; use quarn, vimble or crandle. Going on as quarn.\n", name);
  }
  return CProductID::eProduct_Quarn;
}

}  // namespace

CProductID::eProductID_t CProductID::getProductID() const {
  static const eProductID_t product = ChosenProduct();
  return product;
}

bool CProductID::isQuarn() const { return getProductID() == eProduct_Quarn; }
bool CProductID::isVimble() const { return getProductID() == eProduct_Vimble; }
bool CProductID::isCrandle() const { return getProductID() == eProduct_Crandle; }

std::string SerialNumber_Quarn::GetSerialNumber() const { return "0000000001"; }
std::string SerialNumber_Quarn::GetFormattedSerialNumber() const { return "HOST-0000-0001"; }
unsigned int SerialNumber_Quarn::GetBoardID() const { return 1; }
std::string SerialNumber_Quarn::GetMacAddress() const { return "02:00:00:00:00:01"; }
