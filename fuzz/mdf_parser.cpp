// An MDF through the whole path the main dialog takes: load, parse, fix the references, convert.
#include "FuzzFile.h"
#include "description/MDF_Parser.h"
#include "description/MdfTableConversion.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string& path = FuzzFilePath("-mdf.xml");
    if (!WriteFuzzFile(path, data, size)) return 0;
    MDF_Parser parser;
    if (!parser.Load(path) || !parser.Parse()) return 0;
    parser.FixReferences();
    DescriptionTables tables;
    size_t logged = 0;
    ConvertMdfTables(parser, tables, [&](const std::string& line) { logged += line.size(); });
    parser.Clear();
    return 0;
}
