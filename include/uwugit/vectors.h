/* The host operations that a module reaches by number: vector V, slot S. One list, read by the
   module's stubs (also from assembly, hence macros only) and by the host that provides them. */
#pragma once

#define UWUGIT_HOST_OPERATIONS(OPERATION) \
  OPERATION(xpslog, 39, 89)               \
  OPERATION(xpsstr, 39, 79)               \
  OPERATION(xprrlog, 39, 130)             \
  OPERATION(xxrasgn, 39, 197)             \
  OPERATION(xxropen, 39, 207)             \
  OPERATION(xxclose, 39, 210)             \
  OPERATION(xexit, 39, 4)                 \
  OPERATION(xprlstr, 39, 104)             \
  OPERATION(xjsympc, 49, 31)              \
  OPERATION(xjsympn, 49, 32)              \
  OPERATION(xalanch, 40, 277)             \
  OPERATION(xpselec, 39, 108)             \
  OPERATION(xpopset, 39, 138)             \
  OPERATION(xyrcgef, 39, 56)              \
  OPERATION(wzrlchr, 0, 320)              \
  OPERATION(xyrngef, 39, 57)              \
  OPERATION(zkelver, 39, 194)             \
  OPERATION(wtrsset, 0, 192)              \
  OPERATION(omidcrp, 516, 34)             \
  OPERATION(wiinstl, 0, 84)
