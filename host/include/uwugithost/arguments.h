// An argument block and what it points to, for callers that know the calling convention.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "uwugit/host_abi.h"

namespace uwugit::host {

class Arguments {
 public:
  Arguments& text(std::string_view value);
  Arguments& number(double value);
  Arguments& output(std::size_t capacity);

  // How many arguments there are: the position of the next one.
  std::size_t count() const { return items_.size(); }

  const HostArgumentBlock* block();
  HostString& string(std::size_t position) { return items_[position]->string; }
  double& number_at(std::size_t position) { return items_[position]->number; }
  // What the output variable at that position holds: its characters up to its length.
  std::string_view output_text(std::size_t position) const;

 private:
  struct Item {
    std::string characters;
    HostString string{};
    double number = 0;
    bool is_number = false;
  };
  Arguments& add_string(std::string characters, std::size_t length);

  std::vector<std::unique_ptr<Item>> items_;
  std::vector<std::uint64_t> block_;
};

}  // namespace uwugit::host
