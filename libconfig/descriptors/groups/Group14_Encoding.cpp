// 14 Encoding: the codec and the quality of new clips.
#include "libconfig/descriptors/ProductIdentity.h"
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"

namespace qel::config {
namespace {

constexpr Choice kModes[] = {
    {kEncodeConstantRate, "Constant Rate", "Constant"},
    {kEncodeVariableRate, "Variable Rate", "Variable"},
};

// Do not renumber: 0, 1, 2 and 4 are the ProRes 422 family, 5 to 7 the DNxHD family, and 3 belongs
// to neither.
constexpr Choice kEncodeTypes[] = {
    {0, "ProRes 422 HQ", "ProRes\n  HQ"},       {1, "ProRes 422", "ProRes\n  422"},
    {2, "ProRes 422 LT", "ProRes\n  LT"},       {3, "Uncompressed 4:2:2", "Uncomp\n  4:2:2"},
    {4, "ProRes 422 Proxy", "ProRes\n  Proxy"}, {5, "DNxHD 220x", "DNxHD\n  220x"},
    {6, "DNxHD 145", "DNxHD\n  145"},           {7, "DNxHD 36", "DNxHD\n  36"},
};

// The compact recorder writes to one drive, which is too slow for the three highest rates.
constexpr Choice kCompactEncodeTypes[] = {
    kEncodeTypes[1], kEncodeTypes[2], kEncodeTypes[4], kEncodeTypes[6], kEncodeTypes[7],
};

constexpr unsigned kProRes422 = 1;

constexpr ParamRow EncodeTypeOf(Choices choices) {
  return Enum(PARAM(EncodeType), "Encode Type", "EncType", choices, kProRes422)
      .Help(
          "Selects the codec and the quality of new clips. Higher rates keep more of the picture "
          "and fill the media sooner; choose the codec that the editing system reads natively.");
}

constexpr ParamRow kEncodeMode =
    Enum(PARAM(EncodeMode), "Encode Mode", "Enc Mode", kModes, kEncodeConstantRate)
        .Help(
            "Constant Rate records every frame of the input. Variable Rate records only those "
            "that the camera marks as new, for slow and fast motion; it needs a high-definition "
            "input. See: 125.35 Camera Frame Rate.");

constexpr ParamRow kEncodeType = EncodeTypeOf(kEncodeTypes);
constexpr ParamRow kCompactEncodeType = EncodeTypeOf(kCompactEncodeTypes);

}  // namespace

// The encoder's own application on the compact recorder asks for what that encoder really does. The
// other processes there keep the full list, so that they can name the type of a clip which another
// model has recorded.
void CreateGroup_14(CatalogueBuilder& builder) {
  const bool compact = productID.isVimble() && builder.WantsEncodeDescriptors();
  builder.Add(kEncodeMode);
  builder.Add(compact ? kCompactEncodeType : kEncodeType);
}

}  // namespace qel::config
