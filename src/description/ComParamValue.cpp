#include "description/ComParamValue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "description/ComParamInfo.h"
#include "description/NumberText.h"

namespace {

size_t NumericSize(uint32_t dataType)
{
    switch (dataType) {
    case PDU_PT_UNUM8:
    case PDU_PT_SNUM8:
        return 1;
    case PDU_PT_UNUM16:
    case PDU_PT_SNUM16:
        return 2;
    default:
        return 4;
    }
}

size_t ElementSize(uint32_t dataType) { return dataType == PDU_PT_LONGFIELD ? sizeof(UNUM32) : sizeof(UNUM8); }

// Both field layouts share their heads; only the element width differs.
struct FieldBlock {
    UNUM32 ParamMaxLen;
    UNUM32 ParamActLen;
    void* pDataArray;
};
static_assert(sizeof(FieldBlock) == sizeof(PDU_PARAM_BYTEFIELD_DATA));
static_assert(sizeof(FieldBlock) == sizeof(PDU_PARAM_LONGFIELD_DATA));
static_assert(offsetof(FieldBlock, pDataArray) == offsetof(PDU_PARAM_BYTEFIELD_DATA, pDataArray));
static_assert(offsetof(FieldBlock, pDataArray) == offsetof(PDU_PARAM_LONGFIELD_DATA, pDataArray));

FieldBlock* NewField(uint32_t maxLen, uint32_t actLen, uint32_t dataType)
{
    if (actLen > kMaxFieldElements)
        return nullptr;
    auto* block = static_cast<FieldBlock*>(std::calloc(1, sizeof(FieldBlock)));
    if (!block)
        return nullptr;
    block->ParamMaxLen = maxLen;
    block->ParamActLen = actLen;
    if (actLen != 0) {
        block->pDataArray = std::calloc(actLen, ElementSize(dataType));
        if (!block->pDataArray) {
            std::free(block);
            return nullptr;
        }
    }
    return block;
}

void DeleteField(FieldBlock* block)
{
    if (block) {
        std::free(block->pDataArray);
        std::free(block);
    }
}

void SetElement(FieldBlock* block, uint32_t dataType, uint32_t index, uint32_t number)
{
    if (dataType == PDU_PT_LONGFIELD)
        static_cast<UNUM32*>(block->pDataArray)[index] = number;
    else
        static_cast<UNUM8*>(block->pDataArray)[index] = static_cast<UNUM8>(number);
}

// ---- numbers -------------------------------------------------------------------------------

struct Saturated {
    int64_t number;
    bool exact;
};

Saturated SaturateUnsigned(uint32_t n, uint32_t max, ValueConverter converter)
{
    // Only LoLiDialog's check is exact; the others report the maximum itself as overflow.
    const bool fits = converter == ValueConverter::LoLiDialog ? n <= max : n < max;
    return fits ? Saturated{n, true} : Saturated{max, false};
}

Saturated Saturate(uint32_t dataType, const std::string& text, ValueConverter converter)
{
    const bool loli = converter == ValueConverter::LoLiDialog;
    switch (dataType) {
    case PDU_PT_UNUM8:
        return SaturateUnsigned(ParseULong32(text), 0xFF, converter);
    case PDU_PT_UNUM16:
        return SaturateUnsigned(ParseULong32(text), 0xFFFF, converter);
    case PDU_PT_UNUM32: {
        const uint32_t n = ParseULong32(text);
        return {n, loli || converter == ValueConverter::KeldaDialog || n != 0xFFFFFFFFu};
    }
    case PDU_PT_SNUM8: {
        const int32_t n = ParseLong32(text);
        if (n >= 127)
            return {127, false};
        if (n <= -128)
            return {-128, false};
        return {n, true};
    }
    case PDU_PT_SNUM16: {
        const int32_t n = ParseLong32(text);
        if (n >= 32767)
            return {32767, false};
        if (n < -32767)
            return {-32768, false};
        return {n, true};
    }
    default: { // SNUM32
        const int32_t n = ParseLong32(text);
        return {n, loli || (n != INT32_MAX && n != INT32_MIN)};
    }
    }
}

void WriteNumber(void* block, uint32_t dataType, int64_t number)
{
    switch (NumericSize(dataType)) {
    case 1: {
        const auto v = static_cast<uint8_t>(number);
        std::memcpy(block, &v, 1);
        break;
    }
    case 2: {
        const auto v = static_cast<uint16_t>(number);
        std::memcpy(block, &v, 2);
        break;
    }
    default: {
        const auto v = static_cast<uint32_t>(number);
        std::memcpy(block, &v, 4);
        break;
    }
    }
}

bool StoreNumber(void** value, const std::string& text, uint32_t dataType, ValueConverter converter)
{
    if (!*value) {
        *value = std::calloc(1, NumericSize(dataType));
        if (!*value)
            return false;
    }
    const Saturated s = Saturate(dataType, text, converter);
    WriteNumber(*value, dataType, s.number);
    return s.exact;
}

// ---- fields ----------------------------------------------------------------------------------

// "max act e e e ...", blanks only. Elements go in by an 8-bit counter, so past 256 tokens
// they wrap to the front again; nothing lands outside the array.
bool ParseDescriptionField(void** value, const std::string& text, uint32_t dataType)
{
    const std::vector<std::string> tokens = SplitBlanks(text);
    const uint32_t maxLen = tokens.size() > 0 ? ParseULong32(tokens[0]) : 255;
    const uint32_t actLen = tokens.size() > 1 ? ParseULong32(tokens[1]) : 0;
    if (actLen == 0)
        return false;
    FieldBlock* block = NewField(maxLen, actLen, dataType);
    if (!block)
        return false;
    uint8_t index = 0;
    for (size_t t = 2; t < tokens.size(); ++t, ++index) {
        const uint32_t number = ParseULong32(tokens[t]);
        if (dataType == PDU_PT_BYTEFIELD && number > 0xFF) {
            DeleteField(block);
            return false;
        }
        if (index < actLen)
            SetElement(block, dataType, index, number);
    }
    *value = block;
    return true;
}

std::vector<std::string> LinkFieldTokens(const std::string& text)
{
    // Any comma past the first place decides, not only the first one found.
    if (text.find(',', 1) == std::string::npos)
        return SplitBlanks(text);
    std::string packed;
    packed.reserve(text.size());
    for (char c : text)
        if (!IsBlank(c))
            packed += c;
    return SplitTokens(packed, ',');
}

// Elements only, separated by blanks or by commas; the old block stays when the text is refused.
bool ParseLinkField(void** value, const std::string& text, uint32_t dataType, uint32_t maxLen)
{
    const std::vector<std::string> tokens = LinkFieldTokens(text);
    FieldBlock* block = tokens.size() > kMaxFieldElements
        ? nullptr
        : NewField(maxLen, static_cast<uint32_t>(tokens.size()), dataType);
    if (!block) { // out of memory: a field is left without a value
        FreeValue(value, dataType);
        return false;
    }
    for (uint32_t i = 0; i < tokens.size(); ++i) {
        const uint32_t number = ParseULong32(tokens[i]);
        if (dataType == PDU_PT_BYTEFIELD && number > 0xFF) {
            DeleteField(block);
            return false;
        }
        SetElement(block, dataType, i, number);
    }
    FreeValue(value, dataType);
    *value = block;
    return true;
}

bool CopyField(ValueConverter converter, void** dest, const void* source, uint32_t dataType, uint32_t longFieldMax)
{
    const auto* src = static_cast<const FieldBlock*>(source);
    if (*dest) {
        if (dataType == PDU_PT_LONGFIELD) {
            if (src->ParamMaxLen > longFieldMax || src->ParamActLen > longFieldMax)
                return false;
        } else {
            if (src->ParamMaxLen > 256 || !src->pDataArray)
                return false;
            if (converter == ValueConverter::LoLiDialog && src->ParamActLen == 0)
                return false;
        }
    }
    FreeValue(dest, dataType);
    FieldBlock* block = NewField(src->ParamMaxLen, src->ParamActLen, dataType);
    if (!block)
        return false;
    if (block->pDataArray && src->pDataArray)
        std::memcpy(block->pDataArray, src->pDataArray, size_t(src->ParamActLen) * ElementSize(dataType));
    *dest = block;
    return true;
}

// ---- structures ------------------------------------------------------------------------------

uint32_t MembersPerEntry(uint32_t structType) { return structType == PDU_CPST_SESSION_TIMING ? 5 : 6; }

bool HasEntries(uint32_t structType)
{
    return structType == PDU_CPST_SESSION_TIMING || structType == PDU_CPST_ACCESS_TIMING;
}

// Room for the larger of both counts, so no reader of ParamActEntries runs past the end.
uint32_t EntryCapacity(const PDU_PARAM_STRUCTFIELD_DATA& block)
{
    if (!HasEntries(block.ComParamStructType))
        return block.ParamMaxEntries;
    return std::max(block.ParamMaxEntries, block.ParamActEntries);
}

void FillEntry(uint8_t* entry, uint32_t structType, const uint32_t* numbers)
{
    if (structType == PDU_CPST_SESSION_TIMING) {
        PDU_PARAM_STRUCT_SESS_TIMING t{};
        t.session = static_cast<UNUM16>(numbers[0]);
        t.P2Max_high = static_cast<UNUM8>(numbers[1]);
        t.P2Max_low = static_cast<UNUM8>(numbers[2]);
        t.P2Star_high = static_cast<UNUM8>(numbers[3]);
        t.P2Star_low = static_cast<UNUM8>(numbers[4]);
        std::memcpy(entry, &t, sizeof t);
    } else {
        for (int i = 0; i < 6; ++i)
            entry[i] = static_cast<uint8_t>(numbers[i]);
    }
}

bool CopyStruct(void** dest, const void* source)
{
    const auto* src = static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(source);
    if (*dest && src->ParamMaxEntries > 256)
        return false;
    FreeValue(dest, PDU_PT_STRUCTFIELD);
    const uint32_t capacity = EntryCapacity(*src);
    if (capacity > kMaxFieldElements)
        return false;
    auto* block = static_cast<PDU_PARAM_STRUCTFIELD_DATA*>(std::calloc(1, sizeof(PDU_PARAM_STRUCTFIELD_DATA)));
    if (!block)
        return false;
    *block = *src;
    block->pStructArray = nullptr;
    if (capacity != 0) {
        block->pStructArray = std::calloc(capacity, kStructEntrySize);
        if (!block->pStructArray) {
            std::free(block);
            return false;
        }
        if (HasEntries(src->ComParamStructType) && src->ParamActEntries != 0 && src->pStructArray)
            std::memcpy(block->pStructArray, src->pStructArray, size_t(src->ParamActEntries) * kStructEntrySize);
    }
    *dest = block;
    return true;
}

bool SameArray(const void* a, const void* b, size_t bytes)
{
    if (bytes == 0)
        return true;
    if (!a || !b)
        return a == b;
    return std::memcmp(a, b, bytes) == 0;
}

} // namespace

bool IsValueDataType(uint32_t dataType) { return dataType >= PDU_PT_UNUM8 && dataType <= PDU_PT_LONGFIELD; }

bool IsNumericDataType(uint32_t dataType) { return dataType >= PDU_PT_UNUM8 && dataType <= PDU_PT_SNUM32; }

bool ParseDefaultValue(ComParamInfo& record, const std::string& text)
{
    FreeValue(&record.value, record.dataType);
    if (text.empty())
        return false;
    const uint32_t type = record.dataType;
    if (!IsValueDataType(type))
        return true;
    if (IsNumericDataType(type))
        return StoreNumber(&record.value, text, type, ValueConverter::DescriptionFile);
    if (type == PDU_PT_STRUCTFIELD)
        return ParseStructText(text, &record.value);
    return ParseDescriptionField(&record.value, text, type);
}

bool ConvertTextToValue(ValueConverter converter, void** value, const std::string& text, uint32_t dataType,
    uint32_t byteFieldMax, uint32_t longFieldMax)
{
    if (!value)
        return false;
    if (converter == ValueConverter::DescriptionFile) {
        // Not a link converter; kept total so a wrong caller gets an answer, not a crash.
        ComParamInfo record;
        record.dataType = dataType;
        const bool ok = ParseDefaultValue(record, text);
        FreeValue(value, dataType);
        std::swap(*value, record.value);
        return ok;
    }
    const bool loli = converter == ValueConverter::LoLiDialog;
    if (text.empty() && loli)
        return false;
    if (!IsValueDataType(dataType))
        return true;
    if (IsNumericDataType(dataType))
        return StoreNumber(value, text, dataType, converter);
    switch (dataType) {
    case PDU_PT_BYTEFIELD:
        return ParseLinkField(value, text, dataType, loli ? 255 : byteFieldMax);
    case PDU_PT_LONGFIELD:
        return loli ? true : ParseLinkField(value, text, dataType, longFieldMax);
    default:
        return ParseStructText(text, value);
    }
}

bool CopyValueAs(ValueConverter converter, void** dest, const void* source, uint32_t dataType, uint32_t longFieldMax)
{
    if (!dest || !source || dataType == 0)
        return false;
    if (!IsValueDataType(dataType))
        return true;
    if (IsNumericDataType(dataType)) {
        if (!*dest) {
            *dest = std::calloc(1, NumericSize(dataType));
            if (!*dest)
                return false;
        }
        std::memcpy(*dest, source, NumericSize(dataType));
        return true;
    }
    if (dataType == PDU_PT_STRUCTFIELD)
        return CopyStruct(dest, source);
    if (dataType == PDU_PT_LONGFIELD && converter == ValueConverter::LoLiDialog)
        return true; // LoLiDialog has no long fields
    return CopyField(converter, dest, source, dataType, longFieldMax);
}

void FreeValue(void** value, uint32_t dataType)
{
    if (!value)
        return;
    if (*value && IsValueDataType(dataType)) {
        if (dataType == PDU_PT_BYTEFIELD || dataType == PDU_PT_LONGFIELD)
            std::free(static_cast<FieldBlock*>(*value)->pDataArray);
        else if (dataType == PDU_PT_STRUCTFIELD)
            std::free(static_cast<PDU_PARAM_STRUCTFIELD_DATA*>(*value)->pStructArray);
        std::free(*value);
    }
    *value = nullptr;
}

bool ValueEquals(const void* a, const void* b, uint32_t dataType)
{
    if (!a || !b || !IsValueDataType(dataType))
        return false;
    if (IsNumericDataType(dataType))
        return std::memcmp(a, b, NumericSize(dataType)) == 0;
    if (dataType == PDU_PT_STRUCTFIELD) {
        const auto* x = static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(a);
        const auto* y = static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(b);
        return x->ParamActEntries == y->ParamActEntries
            && SameArray(x->pStructArray, y->pStructArray, size_t(x->ParamActEntries) * kStructEntrySize);
    }
    const auto* x = static_cast<const FieldBlock*>(a);
    const auto* y = static_cast<const FieldBlock*>(b);
    return x->ParamActLen == y->ParamActLen
        && SameArray(x->pDataArray, y->pDataArray, size_t(x->ParamActLen) * ElementSize(dataType));
}

std::string NormaliseStructText(std::string text)
{
    for (char c : {',', ')', '('}) {
        const size_t first = text.find(c);
        if (first != std::string::npos && first > 0)
            std::replace(text.begin(), text.end(), c, ' ');
    }
    return text;
}

bool ParseStructText(const std::string& text, void** value)
{
    if (!value)
        return false;
    FreeValue(value, PDU_PT_STRUCTFIELD);
    const std::vector<std::string> tokens = SplitBlanks(NormaliseStructText(text));
    bool valid = true;
    uint32_t type = PDU_CPST_SESSION_TIMING;
    uint32_t maxEntries = 255;
    uint32_t actEntries = 0;
    std::vector<uint32_t> members;
    for (size_t i = 0; i < tokens.size(); ++i) {
        const uint32_t n = ParseULong32(tokens[i]);
        if (i == 0) {
            if (n == PDU_CPST_SESSION_TIMING || n == PDU_CPST_ACCESS_TIMING)
                type = n;
            else
                valid = false;
            continue;
        }
        if (n >= 256)
            valid = false;
        if (i == 1)
            maxEntries = n;
        else if (i == 2)
            actEntries = n;
        else if (n < 256)
            members.push_back(n);
    }
    auto* block = static_cast<PDU_PARAM_STRUCTFIELD_DATA*>(std::calloc(1, sizeof(PDU_PARAM_STRUCTFIELD_DATA)));
    if (!block)
        return false;
    block->ComParamStructType = type;
    block->ParamMaxEntries = maxEntries;
    block->ParamActEntries = actEntries;
    *value = block;
    if (actEntries == 0)
        return true;
    const uint32_t per = MembersPerEntry(type);
    if (!valid || members.size() != size_t(actEntries) * per) {
        block->ParamActEntries = 0;
        return true;
    }
    block->pStructArray = std::calloc(EntryCapacity(*block), kStructEntrySize);
    if (!block->pStructArray) {
        FreeValue(value, PDU_PT_STRUCTFIELD);
        return false;
    }
    auto* entries = static_cast<uint8_t*>(block->pStructArray);
    for (uint32_t e = 0; e < actEntries; ++e)
        FillEntry(entries + e * kStructEntrySize, type, &members[size_t(e) * per]);
    return true;
}

void StructToText(std::string& target, const PDU_PARAM_STRUCTFIELD_DATA* block)
{
    target.clear();
    if (!block)
        return;
    auto number = [&target](int n) { target += std::to_string(n) + ' '; };
    number(static_cast<int>(block->ComParamStructType));
    number(static_cast<int>(block->ParamMaxEntries));
    number(static_cast<int>(block->ParamActEntries));
    if (!block->pStructArray || !HasEntries(block->ComParamStructType))
        return;
    const auto* entries = static_cast<const uint8_t*>(block->pStructArray);
    for (uint32_t e = 0; e < block->ParamActEntries; ++e) {
        const uint8_t* entry = entries + size_t(e) * kStructEntrySize;
        target += '(';
        if (block->ComParamStructType == PDU_CPST_SESSION_TIMING) {
            PDU_PARAM_STRUCT_SESS_TIMING t;
            std::memcpy(&t, entry, sizeof t);
            for (int n : {int(t.session), int(t.P2Max_high), int(t.P2Max_low), int(t.P2Star_high), int(t.P2Star_low)})
                number(n);
        } else {
            for (int i = 0; i < 6; ++i)
                number(entry[i]);
        }
        target += ')';
    }
}

int NumberTextsDiffer(const std::string& a, const std::string& b)
{
    const std::vector<std::string> x = SplitBlanks(NormaliseStructText(a));
    const std::vector<std::string> y = SplitBlanks(NormaliseStructText(b));
    if (x.size() != y.size())
        return 1;
    for (size_t i = 0; i < x.size(); ++i)
        if (ParseULong32(x[i]) != ParseULong32(y[i]))
            return 1;
    return 0;
}

int64_t NumericValue(const void* value, uint32_t dataType)
{
    if (!value) return 0;
    switch (dataType) {
    case PDU_PT_UNUM8: return *static_cast<const UNUM8*>(value);
    case PDU_PT_SNUM8: return *static_cast<const SNUM8*>(value);
    case PDU_PT_UNUM16: return *static_cast<const UNUM16*>(value);
    case PDU_PT_SNUM16: return *static_cast<const SNUM16*>(value);
    case PDU_PT_UNUM32: return *static_cast<const UNUM32*>(value);
    case PDU_PT_SNUM32: return *static_cast<const SNUM32*>(value);
    default: return 0;
    }
}

