#include "module/upper_case.h"

#include "module/bootstrap.h"

namespace uwugit {

void toUpperCase(char* text) {
  const unsigned char* table = v_global_gcb_anchor->upper_case;
  for (; *text; ++text) *text = static_cast<char>(table[static_cast<unsigned char>(*text)]);
}

}  // namespace uwugit
