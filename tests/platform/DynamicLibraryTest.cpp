#include "platform/DynamicLibrary.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "TestFolder.h"
#include "pdu/MorvaneExtensions.h"
#include "pdu/PduFunctions.h"
#include "platform/ElfNeeded.h"

using namespace platform;

namespace {

const std::string kLibDir = QUILLON_FIXTURE_LIB_DIR;
const std::string kFull = kLibDir + "/libstubpdu_full.so";
const std::string kNoCanRead = kLibDir + "/libstubpdu_nocanread.so";
const std::string kNeedsDep = kLibDir + "/needsdep/libstubpdu_needsdep.so";
const std::string kDep = kLibDir + "/needsdep/libstubpdu_dep.so";

#define QUILLON_NAME(name, params) #name,
const std::vector<std::string> kIsoFunctions = {QUILLON_PDU_FUNCTIONS(QUILLON_NAME)};
const std::vector<std::string> kExtensionFunctions = {QUILLON_PDUSE_FUNCTIONS(QUILLON_NAME)};
#undef QUILLON_NAME

class Library {
public:
    explicit Library(LibraryHandle handle) : m_handle(handle) {}
    ~Library() { FreeLibrary(m_handle); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    LibraryHandle Get() const { return m_handle; }

private:
    LibraryHandle m_handle;
};

std::vector<std::string> MissingExports(LibraryHandle library)
{
    std::vector<std::string> missing;
    for (const auto* list : {&kIsoFunctions, &kExtensionFunctions})
        for (const std::string& name : *list)
            if (!GetProcAddress(library, name.c_str()))
                missing.push_back(name);
    return missing;
}

TEST(DynamicLibrary, BindsEveryExportOfAFullLibrary)
{
    ASSERT_EQ(kIsoFunctions.size(), 29u);
    ASSERT_EQ(kExtensionFunctions.size(), 4u);
    LoadError error{99, "stale"};
    Library library(LoadLibraryPlain(kFull, &error));
    ASSERT_NE(library.Get(), nullptr) << error.text;
    EXPECT_EQ(error.code, 0);
    EXPECT_TRUE(error.text.empty());
    EXPECT_TRUE(MissingExports(library.Get()).empty());

    auto construct = reinterpret_cast<PFN_PDUConstruct>(GetProcAddress(library.Get(), "PDUConstruct"));
    auto destruct = reinterpret_cast<PFN_PDUDestruct>(GetProcAddress(library.Get(), "PDUDestruct"));
    char options[] = "";
    EXPECT_EQ(construct(options, nullptr), PDU_STATUS_NOERROR);
    EXPECT_EQ(destruct(), PDU_ERR_FCT_FAILED);
    EXPECT_EQ(GetProcAddress(library.Get(), "NoSuchExport"), nullptr);
    EXPECT_EQ(GetProcAddress(library.Get(), "StubResult"), nullptr) << "only the API is exported";
}

TEST(DynamicLibrary, ALibraryWithoutAnExtensionStillLoads)
{
    Library library(LoadLibraryPlain(kNoCanRead, nullptr));
    ASSERT_NE(library.Get(), nullptr);
    EXPECT_EQ(MissingExports(library.Get()), std::vector<std::string>{"PDUSECanRead"});
}

TEST(DynamicLibrary, TheSecondAttemptFindsCompanionsInTheLibrarysFolder)
{
    LoadError error;
    EXPECT_EQ(LoadLibraryPlain(kNeedsDep, &error), nullptr);
    EXPECT_NE(error.code, 0);
    EXPECT_NE(error.text.find("cannot open shared object file"), std::string::npos) << error.text;

    {
        Library library(LoadLibraryAlteredSearchPath(kNeedsDep, &error));
        ASSERT_NE(library.Get(), nullptr) << error.text;
        EXPECT_EQ(error.code, 0);
        EXPECT_TRUE(MissingExports(library.Get()).empty());
        auto check = reinterpret_cast<int (*)()>(GetProcAddress(library.Get(), "StubDependencyCheck"));
        ASSERT_NE(check, nullptr);
        EXPECT_EQ(check(), 4711);
    }
    // Freeing the library lets its companion go as well: the loader kept no reference of its own.
    EXPECT_EQ(dlopen(kDep.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST(DynamicLibrary, FailuresAreReportedNotFatal)
{
    TestFolder folder;
    const std::string text = folder.File("libnotelf.so");
    TestFolder::Write(text, "this is no shared object\n");
    struct Case {
        std::string path;
        int code;  // 0: any non-zero code
    };
    const Case cases[] = {
        {folder.File("libmissing.so"), ENOENT},
        {text, 0},
        {folder.Path(), 0},
        {"", EINVAL},
    };
    for (const Case& c : cases) {
        for (auto load : {LoadLibraryPlain, LoadLibraryAlteredSearchPath}) {
            LoadError error;
            const LibraryHandle handle = load(c.path, &error);
            EXPECT_EQ(handle, nullptr) << c.path;
            FreeLibrary(handle);
            EXPECT_FALSE(error.text.empty()) << c.path;
            if (c.code)
                EXPECT_EQ(error.code, c.code) << c.path;
            else
                EXPECT_NE(error.code, 0) << c.path;
        }
    }
    EXPECT_EQ(GetProcAddress(nullptr, "PDUConstruct"), nullptr);
    FreeLibrary(nullptr);
}

TEST(ElfNeeded, ListsTheDependenciesOfAnElfFile)
{
    const auto needed = ElfNeeded(kNeedsDep);
    // A sanitizer build puts its runtime first.
    EXPECT_NE(std::find(needed.begin(), needed.end(), "libstubpdu_dep.so"), needed.end());
    EXPECT_NE(std::find(needed.begin(), needed.end(), "libc.so.6"), needed.end());
    EXPECT_TRUE(ElfNeeded(kDep + ".missing").empty());
}

TEST(ElfNeeded, SurvivesDamagedFiles)
{
    TestFolder folder;
    const std::string whole = TestFolder::Read(kNeedsDep);
    ASSERT_GT(whole.size(), 4096u);
    const std::string damaged = folder.File("damaged.so");
    // Cut short at every interesting length, then with the headers' offsets scrambled.
    for (size_t length : {size_t{0}, size_t{4}, size_t{16}, size_t{63}, size_t{64}, size_t{200}, size_t{1000},
                          whole.size() / 2, whole.size() - 1}) {
        TestFolder::Write(damaged, whole.substr(0, length));
        EXPECT_NO_FATAL_FAILURE(ElfNeeded(damaged)) << length;
    }
    for (size_t offset = 16; offset < 64; ++offset) {
        std::string scrambled = whole;
        scrambled[offset] = static_cast<char>(0xFF);
        TestFolder::Write(damaged, scrambled);
        ElfNeeded(damaged);
    }
    TestFolder::Write(damaged, whole);
    EXPECT_EQ(ElfNeeded(damaged), ElfNeeded(kNeedsDep));
}

}  // namespace
