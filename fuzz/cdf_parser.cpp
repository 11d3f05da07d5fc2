// A cable description file: load, parse, and look every cable up again.
#include "FuzzFile.h"
#include "description/CDF_Parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string& path = FuzzFilePath("-cdf.xml");
    if (!WriteFuzzFile(path, data, size)) return 0;
    CDF_Parser parser;
    if (!parser.Load(path) || !parser.Parse()) return 0;
    for (uint32_t id : parser.GetCableIds()) parser.FindCable(id);
    parser.FindCable(0);
    return 0;
}
