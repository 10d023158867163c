// The host's operations as ordinary functions; each is a stub in vector_stubs.S.
#pragma once

#include "uwugit/operations.h"

namespace uwugit {

extern "C" {
operation::xpslog xpslog;
operation::xpsstr xpsstr;
operation::xprrlog xprrlog;
operation::xxrasgn xxrasgn;
operation::xxropen xxropen;
operation::xxclose xxclose;
operation::xexit xexit;
operation::xprlstr xprlstr;
operation::xalanch xalanch;
operation::xjsympc xjsympc;
operation::xjsympn xjsympn;
operation::omidcrp omidcrp;
}

}  // namespace uwugit
