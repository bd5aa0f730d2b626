// 100 Board: the hardware that the software finds itself on.
#include "libconfig/descriptors/groups/Groups.h"
#include "product/SerialNumber_Quarn.h"

namespace qel::config {
namespace {

constexpr ParamRow kBoardID = Integer(PARAM(BoardID), "Board ID", "Board ID", 0, 0xFFFFFFFF, 0)
                                  .Report()
                                  .Help(
                                      "The revision of the main board, for service. Updates "
                                      "select the right firmware by it.");

}  // namespace

void CreateGroup_100(CatalogueBuilder& builder) {
  builder.Add(kBoardID, SerialNumber_Quarn().GetBoardID());
}

}  // namespace qel::config
