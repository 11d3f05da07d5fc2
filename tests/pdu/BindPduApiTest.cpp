#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "pdu/PduApi.h"

namespace {

// A library made of a name list: records the order of lookups, answers with fake addresses.
struct FakeLibrary {
    std::vector<std::string> exports;
    std::vector<std::string> lookups;
};

T_PDU_ERROR PDU_CALL FakeConstruct(CHAR8*, void*) { return PDU_STATUS_NOERROR; }
T_PDU_ERROR PDU_CALL FakeCanRead(UNUM32, UNUM32*, SeCanMessage*) { return PDU_STATUS_NOERROR; }

void* Lookup(void* library, const char* name)
{
    auto* lib = static_cast<FakeLibrary*>(library);
    lib->lookups.push_back(name);
    for (const std::string& e : lib->exports) {
        if (e != name) continue;
        if (e == "PDUConstruct") return reinterpret_cast<void*>(&FakeConstruct);
        if (e == "PDUSECanRead") return reinterpret_cast<void*>(&FakeCanRead);
    }
    return nullptr;
}

}  // namespace

TEST(BindPduApi, LooksUpAllThirtyThreeNamesInOrder)
{
    FakeLibrary lib{{"PDUConstruct"}, {}};
    BindPduApi(&lib, &Lookup);
    ASSERT_EQ(lib.lookups.size(), 33u);
    for (size_t i = 0; i < 33; ++i) EXPECT_EQ(lib.lookups[i], kPduApiLookupOrder[i]);
    EXPECT_EQ(lib.lookups[4], "PDUGetTimestamp");
    EXPECT_EQ(lib.lookups[32], "PDUSECanRequestChipState");
}

TEST(BindPduApi, MissingStandardFunctionsFailCleanlyAndExtensionsStayNull)
{
    FakeLibrary lib{{"PDUConstruct", "PDUSECanRead"}, {}};
    BindPduApi(&lib, &Lookup);
    EXPECT_EQ(PduApi.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    // Not exported: the stand-in answers instead of a null call.
    ASSERT_NE(PduApi.PDUDestruct, nullptr);
    EXPECT_EQ(PduApi.PDUDestruct(), PDU_ERR_FCT_FAILED);
    PDU_MODULE_ITEM* modules = nullptr;
    EXPECT_EQ(PduApi.PDUGetModuleIds(&modules), PDU_ERR_FCT_FAILED);
    EXPECT_EQ(modules, nullptr);
    EXPECT_NE(PduApi.PDUSECanRead, nullptr);
    EXPECT_EQ(PduApi.PDUSECanWrite, nullptr);
    EXPECT_EQ(PduApi.PDUSESetEventNotification, nullptr);
}
