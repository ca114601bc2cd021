#include "apps/desk/diagnosis/DiagnosisPane.h"

namespace quorvid::desk {

DiagnosisPane::DiagnosisPane(Desk& desk) : desk_(desk) {}

}  // namespace quorvid::desk
