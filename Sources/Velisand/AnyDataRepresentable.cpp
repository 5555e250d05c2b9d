#include "Velisand/AnyDataRepresentable.hpp"

namespace velisand {

AnyDataRepresentable::AnyDataRepresentable(std::string_view text) : AnyDataRepresentable(std::string(text)) {}

AnyDataRepresentable::AnyDataRepresentable(const char* text) : AnyDataRepresentable(std::string(text)) {}

}  // namespace velisand
