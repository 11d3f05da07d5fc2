// The small parts of a link window: its object queue, its UI thread, its placement and the
// ComParam array it builds from the description and the settings file.
#include <gtest/gtest.h>

#include <atomic>

#include "../support/ComParamRecords.h"
#include "../support/TempDir.h"
#include "description/ComParamValue.h"
#include "description/KeldaValueFamily.h"
#include "description/LoLiValueFamily.h"
#include "logical_link/LinkComParams.h"
#include "logical_link/PDUObjectQueue.h"
#include "logical_link/UIThread.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "platform/ProfileFile.h"

namespace {

class CountedObject : public KdObject {
public:
    void Reserved0() override {}
    uint32_t GetType() override { return 8; }
    void Release() override { --refs; }
    void AddRef() override { ++refs; }
    int refs = 1;
};


}  // namespace

TEST(PDUObjectQueue, FifoWithReferences)
{
    PDUObjectQueue queue;
    uint32_t tag = 99;
    EXPECT_EQ(queue.Get(&tag), nullptr);
    EXPECT_EQ(tag, 0u);
    CountedObject a, b;
    EXPECT_EQ(queue.Put(&a, 1), 1);
    EXPECT_EQ(queue.Put(&b, 2), 0);
    EXPECT_EQ(a.refs, 2);
    EXPECT_EQ(queue.GetCount(), 2u);
    EXPECT_EQ(queue.Get(&tag), &a);
    EXPECT_EQ(tag, 1u);
    EXPECT_EQ(a.refs, 2);  // the queue's reference goes to the caller
    EXPECT_EQ(queue.Clear(), 1u);
    EXPECT_EQ(b.refs, 1);
    EXPECT_EQ(queue.GetCount(), 0u);
}

TEST(UIThread, QuitMessageAndLockedWrites)
{
    std::recursive_mutex printLock;
    UIThread thread(printLock);
    thread.CreateThread();
    EXPECT_TRUE(thread.IsLoopRunning());
    thread.PostThreadMessage(1000, 7);  // other messages are let pass
    thread.PostThreadMessage(UIThread::kQuitMessage, 1);
    thread.ExitThread();
    EXPECT_FALSE(thread.IsLoopRunning());
    EXPECT_EQ(thread.QuitValue(), 1);

    PrintListCtrl log;
    thread.PrintFormat(log, 0, "%s %d\n", "a", 1);
    thread.PrintBatch(log, 0, "b\nc");
    EXPECT_EQ(log.Rows(), (std::vector<std::string>{"a 1", "b", "c"}));
    thread.ClearLog(log);
    EXPECT_EQ(log.Rows(), std::vector<std::string>{""});
}

TEST(LinkComParams, BuildsFromBusTypeAndProtocolInTwoPasses)
{
    std::vector<ComParamInfo> definitions;
    definitions.push_back(Definition(1, "CP_Baudrate", PDU_PT_UNUM32, PDU_PC_BUSTYPE, "500000"));
    definitions.push_back(Definition(2, "CP_P2Max", PDU_PT_UNUM32, PDU_PC_TIMING, "150000"));
    definitions.push_back(Definition(3, "CP_Level", PDU_PT_UNUM8, PDU_PC_COM, "1"));
    definitions.push_back(Definition(4, "CP_TesterPresentMessage", PDU_PT_BYTEFIELD, PDU_PC_TESTER_PRESENT, "12 2 0x3e 0x80"));
    definitions.push_back(Definition(5, "CP_Other", PDU_PT_UNUM32, PDU_PC_BUSTYPE, "1"));
    definitions.push_back(Definition(6, "CP_CanRespUSDTId", PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, "0x7E8"));
    const std::vector<BusTypeInfo> busTypes = {{10, "CAN", {{1, "250000"}, {2, "7"}}}};
    const std::vector<ProtocolInfo> protocols = {
        {20, "UDS", {{5, "9"}, {2, "0x20"}, {3, "255"}, {4, "8,2, 0x3e, 0x00"}, {4, ""}, {6, "0x7E9"}}}};

    std::vector<std::string> log;
    KeldaValueFamily family;
    LinkComParams params(LinkComParams::Variant::Full, family, [&](const std::string& text) { log.push_back(text); });
    ASSERT_TRUE(params.Build({&busTypes, &protocols, &definitions}, 10, 20));
    // The bus type keeps only its own class; the protocol's bus type ComParams give way to it.
    std::vector<std::string> names;
    for (const ComParamInfo& p : params.ProtocolComParams) names.push_back(p.name);
    EXPECT_EQ(names, (std::vector<std::string>{"CP_Baudrate", "CP_P2Max", "CP_Level", "CP_TesterPresentMessage",
                                                "CP_TesterPresentMessage", "CP_CanRespUSDTId"}));
    EXPECT_EQ(ValueText(params.ProtocolComParams[0].value, PDU_PT_UNUM32, false), "250000");
    // 255 in a UNUM8 is stored and reported as an overflow, as the check works.
    EXPECT_EQ(ValueText(params.ProtocolComParams[2].value, PDU_PT_UNUM8, false), "255");
    EXPECT_EQ(log, std::vector<std::string>{"Warning: ComParam ID=3, value Overflow (Max or Min value is set) !\n"});
    // A comma field loses its blanks and its two lengths; an empty one copies the definition.
    EXPECT_EQ(ValueText(params.ProtocolComParams[3].value, PDU_PT_BYTEFIELD, false), "0x3e 0x0");
    EXPECT_EQ(static_cast<PDU_PARAM_BYTEFIELD_DATA*>(params.ProtocolComParams[3].value)->ParamMaxLen, 8u);
    EXPECT_EQ(ValueText(params.ProtocolComParams[4].value, PDU_PT_BYTEFIELD, false), "0x3e 0x80");
    EXPECT_EQ(family.m_byteFieldMax, 12u);

    // Without the protocol's id there is nothing to build.
    EXPECT_FALSE(params.Build({&busTypes, &protocols, &definitions}, 10, 0));
}

TEST(LinkComParams, SettingsRoundTripAndUridBlocks)
{
    TempDir dir;
    const std::string ini = dir.File("Quillon.ini");
    dir.Write("Quillon.ini",
              "[URID_UDS_LONG=0x2]\nCP_CanRespUSDTId=0x7E9\n"
              "[URID_UDS=1]\nCP_CanRespUSDTId=0x7E8\nCP_Unknown=1\n"
              "[URID_KWP=3]\nCP_CanRespUSDTId=1\n");
    std::vector<ComParamInfo> definitions;
    definitions.push_back(Definition(6, "CP_CanRespUSDTId", PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, "0x7E8"));
    definitions.push_back(Definition(7, "CP_Signed", PDU_PT_SNUM8, PDU_PC_COM, "-1"));
    const std::vector<ProtocolInfo> protocols = {{20, "UDS", {{6, "0x7E8"}, {7, "-1"}}}};
    std::vector<std::string> log;
    // No library: every call answers as failed.
    BindPduApi(nullptr, [](void*, const char*) -> void* { return nullptr; });
    LoLiValueFamily family;
    LinkComParams params(LinkComParams::Variant::Plain, family, [&](const std::string& text) { log.push_back(text); });
    ASSERT_TRUE(params.Build({nullptr, &protocols, &definitions}, 0, 20));

    // Every section whose name holds "URID" and the protocol's name, the longer ones too.
    params.LoadAndSetUridTable(ini, "UDS", PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF);
    ASSERT_EQ(params.m_uridTexts.size(), 2u);
    EXPECT_EQ(params.m_uridTexts[0].id, 2u);
    EXPECT_EQ(params.m_uridTexts[1].items, "CP_CanRespUSDTId=0x7E8,CP_Unknown=1");
    EXPECT_EQ(params.m_uridTable.EntryCount(), 2u);
    EXPECT_EQ(log.back(), "Return of PDUSetUniqueRespIdTable:\n" + std::string(PduStatusText(PDU_ERR_FCT_FAILED)) + "\n");

    params.SaveUridTable(ini, "UDS");
    params.SaveValues(ini, "UDS");
    EXPECT_EQ(platform::ProfileFile::GetString(ini, "URID_UDS=1", "CP_CanRespUSDTId", ""), "0x7e8");
    EXPECT_EQ(platform::ProfileFile::GetString(ini, "UDS", "CP_Signed", ""), "-1");
    EXPECT_EQ(platform::ProfileFile::GetString(ini, "UDS", "CP_CanRespUSDTId", "none"), "none");  // URID class stays out
    EXPECT_EQ(ValueText(params.ProtocolComParams[1].value, PDU_PT_SNUM8, true), "0xffffffff");
}
