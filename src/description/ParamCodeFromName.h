#pragma once

#include <cstdint>
#include <string_view>

// Code of a ComParam data type name ("PDU_PT_UNUM8" ...) or class name ("TIMING" ...), from one
// list of both; 0 for an empty or unknown name. A CLASS text naming a data type therefore
// yields that type's code, and the other way round.
uint32_t ParamCodeFromName(std::string_view name);
