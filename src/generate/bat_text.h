// Values in the lines of a start-up .bat file, written so that cmd.exe reads
// them back as they are.
#pragma once

#include <string>
#include <string_view>

namespace generate {

// `value` as it must stand in a batch line for cmd.exe to take it literally:
// "%" doubled everywhere (cmd expands variables before it looks at quotes),
// and each of ^ & | < > ( ) preceded by "^" where it stands outside double
// quotes; between quotes cmd takes those as they are, and a caret there would
// stay in the value. Each '"' of the value opens or closes such a span.
// `quoted` says whether the line is between quotes where the value begins.
[[nodiscard]] std::string BatText(std::string_view value, bool quoted = false);

}  // namespace generate
