// ComParam value texts through every converter and data type: the default of a description
// file, the texts of both link dialogs, the structure texts, and the copies and comparisons the
// editors make of the values they get.
#include <fuzzer/FuzzedDataProvider.h>

#include "description/ComParamInfo.h"
#include "description/ComParamValue.h"
#include "description/KeldaValueFamily.h"
#include "description/LoLiValueFamily.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    // The value types and a few outside them.
    const uint32_t dataType = input.ConsumeBool() ? input.ConsumeIntegralInRange<uint32_t>(PDU_PT_UNUM8 - 1, PDU_PT_LONGFIELD + 1)
                                                  : input.ConsumeIntegral<uint32_t>();
    const uint32_t byteFieldMax = input.ConsumeIntegralInRange<uint32_t>(0, 300);
    const uint32_t longFieldMax = input.ConsumeIntegralInRange<uint32_t>(0, 300);
    const std::string other = input.ConsumeRandomLengthString(64);
    const std::string text = input.ConsumeRemainingBytesAsString();

    ComParamInfo record;
    record.dataType = dataType;
    ParseDefaultValue(record, text);
    ParseDefaultValue(record, other);  // replaces the first value

    for (ValueConverter converter :
         {ValueConverter::DescriptionFile, ValueConverter::LoLiDialog, ValueConverter::KeldaDialog}) {
        void* value = nullptr;
        ConvertTextToValue(converter, &value, text, dataType, byteFieldMax, longFieldMax);
        ConvertTextToValue(converter, &value, other, dataType, byteFieldMax, longFieldMax);  // into the block
        void* copy = nullptr;
        if (value) CopyValueAs(converter, &copy, value, dataType, longFieldMax);
        ValueEquals(value, copy, dataType);
        ValueEquals(value, record.value, dataType);
        NumericValue(value, dataType);
        FreeValue(&copy, dataType);
        FreeValue(&value, dataType);
    }

    const LoLiValueFamily loli;
    const KeldaValueFamily kelda;
    for (const ComParamValueFamily* family : {static_cast<const ComParamValueFamily*>(&loli),
                                              static_cast<const ComParamValueFamily*>(&kelda)}) {
        void* value = nullptr;
        family->TextToValue(&value, text, dataType);
        void* copy = nullptr;
        if (value) family->CopyValue(&copy, value, dataType);
        family->FreeValue(&copy, dataType);
        family->FreeValue(&value, dataType);
    }

    void* block = nullptr;
    if (ParseStructText(text, &block) && block) {
        std::string back;
        StructToText(back, static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(block));
        void* again = nullptr;
        ParseStructText(back, &again);
        FreeValue(&again, PDU_PT_STRUCTFIELD);
    }
    ParseStructText(other, &block);  // frees the old block first
    FreeValue(&block, PDU_PT_STRUCTFIELD);
    NumberTextsDiffer(NormaliseStructText(text), other);
    return 0;
}
