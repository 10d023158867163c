#include "module/bootstrap.h"

namespace uwugit {

HostControlBlock* v_global_gcb_anchor = nullptr;
void* v_global_pidb_anchor = nullptr;
HostServices* Exported_TKHandle = nullptr;

namespace {

constexpr char kNotice[] =
    "uwugit: git functions for analytics programs. Released under the MIT licence.";

const ProgramName pcn_UWUGIT_P = {
    .bookkeeping0 = 0xFFFFFFFFFFFF0000,
    .bookkeeping8 = 1024,
    .bookkeeping16 = 1024,
    .name = "uwugit_p",
    .entry = reinterpret_cast<void*>(&uwugit_p),
    .bookkeeping48 = 1,
    .bookkeeping56 = 9683,
    .bookkeeping64 = 37851260,
    .bookkeeping72 = 15,
};

const ProgramName* const mcn_pcns[] = {&pcn_UWUGIT_P, nullptr};

}  // namespace

const ModuleInformation vi_mcn = {
    .tag = "KEL_Image_Information=\0",
    .marker = kInformationMarker,
    .reserved28 = 0,
    .word_size = 8,
    .release = UWUGIT_RELEASE,
    .build_id = "uwugit " UWUGIT_VERSION,
    .build_date = __DATE__,
    .reserved80 = {},
    .programs = mcn_pcns,
    .notice = kNotice,
    .revision = "001",
};

void himodcn() {}

const ModuleInformation* mcn_main(HostControlBlock* gcb, void* pidb) {
  v_global_gcb_anchor = gcb;
  v_global_pidb_anchor = pidb;
  himodcn();
  Exported_TKHandle = gcb->services;
  return &vi_mcn;
}

}  // namespace uwugit
