#pragma once

#include <cstdint>
#include <string>

#include "pdu/PduTypes.h"

struct ComParamInfo;

// A ComParam value is a dataType code and a heap block in the D-PDU API's layout for it: the
// plain number for PDU_PT_UNUM8..SNUM32, PDU_PARAM_BYTEFIELD_DATA, PDU_PARAM_STRUCTFIELD_DATA or
// PDU_PARAM_LONGFIELD_DATA. Blocks and their arrays come from malloc, so a block can go to
// PDUSetComParam as it is. Whoever holds the pointer owns the block.

// Larger element counts are treated as a failed allocation: a number in a file must not be able
// to ask for gigabytes.
constexpr uint32_t kMaxFieldElements = 1u << 20;

// Bytes per entry of a session timing (type 1) or access timing (type 2) structure.
constexpr uint32_t kStructEntrySize = 6;

bool IsValueDataType(uint32_t dataType);
bool IsNumericDataType(uint32_t dataType);
// The number of a numeric block, signed types sign-extended; 0 for any other type.
int64_t NumericValue(const void* value, uint32_t dataType);

// The three text converters and their limits.
enum class ValueConverter {
    DescriptionFile, // ParseDefaultValue
    LoLiDialog,      // TextToValue of LoLiDialog
    KeldaDialog,     // TextToValue of LoLiDialogKeldaPDUAPI
};

// Default of a description file into record.value (any old value is freed first). False reports
// an overflow: the saturated value is stored all the same. An empty text gives false and no value;
// a type outside PDU_PT_UNUM8..PDU_PT_LONGFIELD gives true and no value.
bool ParseDefaultValue(ComParamInfo& record, const std::string& text);

// Link text into *value, creating the block when *value is null. The limits are ParamMaxLen of
// the new byte and long fields (LoLiDialog always uses 255 and leaves long fields alone).
bool ConvertTextToValue(ValueConverter converter, void** value, const std::string& text, uint32_t dataType,
    uint32_t byteFieldMax, uint32_t longFieldMax);

// Copy of a value into *dest; longFieldMax bounds long fields (only LoLiDialogKeldaPDUAPI copies them).
bool CopyValueAs(ValueConverter converter, void** dest, const void* source, uint32_t dataType,
    uint32_t longFieldMax);

// Frees the arrays and the block; *value is null afterwards. Null pointers are fine.
void FreeValue(void** value, uint32_t dataType);

// Same content; a null value or an unknown type never equals.
bool ValueEquals(const void* a, const void* b, uint32_t dataType);

// "type max act (m m m m m )(...)" into a new structure block; the old one is freed first.
// False only when memory ran out. A text that doesn't fit its heads gives no entries.
bool ParseStructText(const std::string& text, void** value);

// The text form of a structure block; the target is emptied first.
void StructToText(std::string& target, const PDU_PARAM_STRUCTFIELD_DATA* block);

// Each of ",", ")", "(" whose first occurrence isn't at index 0 becomes a blank everywhere.
std::string NormaliseStructText(std::string text);

// 1 when the two texts spell different lists of numbers, else 0.
int NumberTextsDiffer(const std::string& a, const std::string& b);
