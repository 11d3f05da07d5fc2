// A root description file as the bench reads it: the list of APIs, then for each listed name
// the three file references, plus the URI to path rules of both platforms on the same bytes.
#include "FuzzFile.h"
#include "root/RootFileReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string& path = FuzzFilePath("-root.xml");
    if (!WriteFuzzFile(path, data, size)) return 0;
    std::string error, names, suppliers;
    ReadRootFile(path, "", error, names, suppliers);
    size_t start = 0;
    for (int listed = 0; listed < 4 && start <= names.size(); ++listed) {
        size_t end = names.find(kRootListSeparator, start);
        if (end == std::string::npos) end = names.size();
        for (const char* tag : {"LIBRARY_FILE", "MODULE_DESCRIPTION_FILE", "CABLE_DESCRIPTION_FILE"}) {
            std::string tagError, name = names.substr(start, end - start), supplier;
            RootUriToPath(ReadRootFile(path, tag, tagError, name, supplier), false);
        }
        start = end + 1;
    }
    const std::string text(reinterpret_cast<const char*>(data), size);
    RootUriToPath(text, false);
    RootUriToPath(text, true);
    return 0;
}
