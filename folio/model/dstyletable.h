#pragma once

#include "folio/styles/dstyle.h"

#include <cstdint>

// Numbers for styles, so that a document item keeps its style in 32 bits instead of a pointer of
// its own. A style is numbered once, on first use, and the table keeps it as long as the process
// runs (styles are few: those of the preferences and those files define). Safe from any thread.
namespace DStyleTable {

// The number of `style`: 0 for none, or when the table is full (16 million styles); the style
// then shows as the default.
std::uint32_t numberOf(const DStylePtr& style);

// The style numbered `number`, null for 0.
const DStyle* at(std::uint32_t number);
DStylePtr sharedAt(std::uint32_t number);

} // namespace DStyleTable
