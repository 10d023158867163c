#include "uwugithost/arguments.h"

#include <algorithm>

namespace uwugit::host {

Arguments& Arguments::add_string(std::string characters, std::size_t length) {
  auto item = std::make_unique<Item>();
  item->characters = std::move(characters);
  item->string = {static_cast<std::int32_t>(item->characters.size()), 0,
                  static_cast<std::int64_t>(length), item->characters.data()};
  items_.push_back(std::move(item));
  return *this;
}

Arguments& Arguments::text(std::string_view value) {
  return add_string(std::string(value), value.size());
}

Arguments& Arguments::output(std::size_t capacity) {
  return add_string(std::string(capacity, '\0'), 0);
}

Arguments& Arguments::number(double value) {
  auto item = std::make_unique<Item>();
  item->number = value;
  item->is_number = true;
  items_.push_back(std::move(item));
  return *this;
}

const HostArgumentBlock* Arguments::block() {
  constexpr std::size_t head = sizeof(HostArgumentBlock) / sizeof(std::uint64_t);
  constexpr std::size_t slot = sizeof(HostArgumentSlot) / sizeof(std::uint64_t);
  block_.assign(head + items_.size() * slot, 0);
  auto* const block = reinterpret_cast<HostArgumentBlock*>(block_.data());
  block->count = static_cast<std::int64_t>(items_.size());
  auto* const slots = reinterpret_cast<HostArgumentSlot*>(block + 1);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    Item& item = *items_[i];
    slots[i].value = item.is_number ? static_cast<void*>(&item.number) : &item.string;
  }
  return block;
}

std::string_view Arguments::output_text(std::size_t position) const {
  const HostString& string = items_[position]->string;
  return {string.characters, static_cast<std::size_t>(std::max<std::int64_t>(string.length, 0))};
}

}  // namespace uwugit::host
