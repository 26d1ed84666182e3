// Calls, their outcomes, and the registries.
#include "runner/bind.h"

namespace talvera::test {

std::map<std::string, Function> &functions() {
  static std::map<std::string, Function> all;
  return all;
}

std::map<std::string, const void *> &symbols() {
  static std::map<std::string, const void *> all;
  return all;
}

const void *symbol(const std::string &name) {
  const auto found = symbols().find(name);
  if (found == symbols().end()) throw TableError("no symbol " + name);
  return found->second;
}

std::int64_t to_number(Call &call, const Value &value) {
  if (value.kind == Value::kNumber) return value.number;
  if (value.kind == Value::kSize) return call.size_beside() + value.number;
  if (value.kind == Value::kName) return constant(value.bytes);
  throw TableError("not a number: " + value.bytes);
}

char *memory_of(Call &call, const Value &value) {
  return Memory(call, value, 0, 1, false).data();
}

const Value &Call::take() {
  if (next_ == values_.size()) throw TableError("too few arguments");
  return values_[next_++];
}

std::int64_t Call::size_beside() const {
  const auto is_buffer = [&](std::size_t i) { return values_[i].kind == Value::kBytes; };
  for (std::size_t i = next_ - 1; i-- > 0;)
    if (is_buffer(i)) return static_cast<std::int64_t>(values_[i].size);
  for (std::size_t i = next_; i < values_.size(); ++i)
    if (is_buffer(i)) return static_cast<std::int64_t>(values_[i].size);
  throw TableError("no buffer beside #");
}

GuardedBuffer &Call::memory(std::size_t size, std::size_t alignment) {
  return *memory_.emplace_back(std::make_unique<GuardedBuffer>(size, alignment));
}

void Call::run(const std::function<void()> &call, bool is_directive) {
  is_directive_ = is_directive;
  if (is_directive) {
    call();
    return;
  }
  const std::string signal = session_.protect(call);
  crashed_ = !signal.empty();
  if (crashed_) print(signal);
}

bool Call::keep(const void *result) {
  if (object_.empty() || result == nullptr) return false;
  session_.objects[object_] = {nullptr, const_cast<char *>(static_cast<const char *>(result))};
  return true;
}

std::string Call::pointer(const void *p, bool is_text) {
  if (p == nullptr) return "null";
  const auto *const address = static_cast<const char *>(p);
  constexpr std::uintptr_t kNoMemory = 4096;  // nothing is mapped below
  const auto number = reinterpret_cast<std::uintptr_t>(p);
  if (number < kNoMemory) return std::to_string(number);
  for (std::size_t i = 0; i < memory_.size(); ++i) {
    if (!memory_[i]->holds(p)) continue;
    return '@' + (i > 0 ? std::to_string(i + 1) + ':' : "") +
           std::to_string(address - memory_[i]->data());
  }
  for (const auto &[name, object] : session_.objects) {
    if (p == object.data) return '$' + name;
    if (object.memory != nullptr && object.memory->holds(p))
      return '$' + name + '+' + std::to_string(address - object.data);
  }
  for (const auto &[name, known] : symbols())
    if (known == p) return name;
  return is_text ? in_quotes(std::string(address) + '\0') : "new";
}

std::string Call::outcome() {
  if (failed_ && !is_directive_ && session_.error != 0) print('!' + error_name(session_.error));
  for (const auto &block : memory_)
    if (!block->intact()) print("OVERRUN");
  std::vector<std::string> effects;
  if (!is_directive_) effects = session_.effects();
  std::string text;
  for (const std::string &token : tokens_)
    text += (text.empty() ? "" : " ") + token;
  const std::string rest = collapsed(effects, " ");
  return text + (text.empty() || rest.empty() ? "" : " ") + rest;
}

Memory::Memory(Call &call, const Value &value, std::size_t size, std::size_t alignment, bool null) {
  switch (value.kind) {
    case Value::kNull:
      return;
    case Value::kName:
      data_ = const_cast<char *>(static_cast<const char *>(symbol(value.bytes)));
      return;
    case Value::kObject: {
      const Session::Object &object = call.session().object(value.bytes, size, alignment, null);
      data_ = object.data;
      block_ = object.memory.get();
      break;
    }
    default: {
      if (value.kind == Value::kNumber && size == 0) {  // a number in place of an address
        data_ = reinterpret_cast<char *>(value.number);
        return;
      }
      GuardedBuffer &block = call.memory(std::max(size, size == 0 ? value.size : 0), alignment);
      data_ = block.data();
      block_ = &block;
      if (null && value.kind == Value::kUnset) std::memset(data_, 0, block.size());
      if (size == 0) std::memcpy(data_, value.bytes.data(), value.bytes.size());
    }
  }
  if (block_ != nullptr) before_ = block_->content();
}

bool Memory::changed() const {
  return block_ != nullptr && block_->content() != before_;
}

std::string Memory::written() const {
  const std::string content = block_->content();
  return content.substr(0, content.find_last_not_of(GuardedBuffer::kFill) + 1);
}

}  // namespace talvera::test
