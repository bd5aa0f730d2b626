#include "libconfig/legacy/CIsEncodeType.h"

bool CIsEncodeType::isEncodeTypeProRes422(unsigned int type) {
  return type == 0 || type == 1 || type == 2 || type == 4;
}

bool CIsEncodeType::isEncodeTypeDNxHD(unsigned int type) { return type >= 5 && type <= 7; }

bool CIsEncodeType::areEncodeTypesDifferentCodecs(unsigned int a, unsigned int b) {
  return (isEncodeTypeProRes422(a) && isEncodeTypeDNxHD(b)) ||
         (isEncodeTypeDNxHD(a) && isEncodeTypeProRes422(b));
}
