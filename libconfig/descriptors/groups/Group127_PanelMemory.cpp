// 127 Panel memory: where the operator left the menus.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr ParamRow LastSelected(ParamName param, const char* name, const char* shortName,
                                eParam_t first) {
  return Integer(param, name, shortName, 0, 0xFFFFFFFF, first)
      .Keep(Keeping::kWorking)
      .Tagged(kHidden);
}

constexpr ParamRow kRows[] = {
    LastSelected(PARAM(LastSelectedConfigParam), "Last Configuration Entry", "LastConf",
                 eParamID_RecordType)
        .Help("The identifier of the entry at which the front panel opens the configuration menu: "
              "the one that was left last."),
    LastSelected(PARAM(LastSelectedMediaParam), "Last Media Entry", "LastMed", eParamID_PlayMedia)
        .Help("The identifier of the entry at which the front panel opens the media menu: the one "
              "that was left last."),
};

}  // namespace

void CreateGroup_127(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
