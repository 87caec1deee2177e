#include "Attr.h"

#include "Datetime.h"
#include "NumberString.h"
#include "StringHelper.h"

namespace strmplay {

int AttrInt(const std::string& value) { return strmcommon::convNotEmptyDigitStringToInt(value); }

unsigned int AttrUInt(const std::string& value) {
  return strmcommon::convNotEmptyDigitStringToUInt(value);
}

double AttrDouble(const std::string& value) {
  return strmcommon::convNotEmptyDigitStringToDouble(value);
}

bool AttrYes(const std::string& value) { return strmcommon::vas_iequal(value, "YES"); }

bool AttrEquals(const std::string& value, const char* word) {
  return strmcommon::vas_iequal(value, word);
}

long long AttrDateTime(const std::string& value) {
  return strmcommon::vas_parseIsoDatetimeString(value);
}

}  // namespace strmplay
