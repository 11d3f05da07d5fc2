#include "description/HardwareModel.h"

namespace {

using Row = HardwareModel;

std::vector<HardwareModel::ProtocolBus> ZentaAirProtocols()
{
    const char* can[] = {"ISO_15765_3_on_ISO_15765_2", "ISO_14229_3_on_ISO_15765_2", "ISO_14230_3_on_ISO_15765_2",
                         "ISO_11898_RAW", "MSP_MRVNE_CAN", "ISO_OBD_on_ISO_15765_4", "MSP_MRVNE_ISO_11898_onboard"};
    std::vector<HardwareModel::ProtocolBus> rows;
    for (const char* protocol : can) rows.push_back({protocol, 1, "ISO_11898_2_DWCAN"});
    rows.push_back({"ISO_15765_3_on_ISO_15765_2", 1, "ISO_11898_3_DWFTCAN"});
    for (const char* protocol : {"ISO_14230_3_on_ISO_14230_2", "MSP_KW1281_on_ISO_9141_2", "ISO_OBD_on_K_Line"}) {
        rows.push_back({protocol, 1, "ISO_9141_2_UART"});
        rows.push_back({protocol, 1, "ISO_14230_1_UART"});
    }
    return rows;
}

std::vector<HardwareModel::BusPins> ZentaAirPins()
{
    return {{"ISO_11898_2_DWCAN", {{"HI", 6}, {"LOW", 14}}},
            {"ISO_11898_3_DWFTCAN", {{"HI", 8}, {"LOW", 9}}},
            {"ISO_9141_2_UART", {{"K", 7}, {"L", 15}}},
            {"ISO_14230_1_UART", {{"K", 7}, {"L", 15}}}};
}

Row Model(const char* idName, uint32_t typeId, const char* displayName = nullptr)
{
    Row row;
    row.idName = idName;
    row.displayName = displayName ? displayName : idName;
    row.moduleTypeId = typeId;
    return row;
}

Row VectorInterface(const char* idName, uint32_t typeId)
{
    return Model(idName, typeId, (std::string("Vector Informatik GmbH ") + idName + " CAN Interface").c_str());
}

std::vector<Row> BuildTable()
{
    Row zentaAir = Model("ZentaAir", 519);
    zentaAir.protocolBus = ZentaAirProtocols();
    zentaAir.busPins = ZentaAirPins();
    return {
        zentaAir,
        Model("BrontoMax", 569),
        Model("QTR7101", 531),
        Model("QTR7102", 532),
        Model("ZentaStick", 518),
        Model("ZentaCard", 517),
        Model("CANcardXL", 521, "Vector Informatik GmbH CANcardXL"),
        Model("CANcardX", 528, "Vector Informatik GmbH CANcardX"),
        Model("CANcaseXL", 522, "Vector Informatik GmbH CANcaseXL"),
        Model("CANboardXL", 523, "Vector Informatik GmbH CANboardXL"),
        VectorInterface("VN1530", 572),
        VectorInterface("VN1610", 548),
        VectorInterface("VN1611", 551),
        VectorInterface("VN1630", 549),
        VectorInterface("VN1630A", 573),
        VectorInterface("VN1630_LOG", 564),
        VectorInterface("VN1640", 550),
        VectorInterface("VN5610", 565),
        VectorInterface("VN5610A", 566),
        VectorInterface("VN5620", 576),
        VectorInterface("VN5640", 567),
        VectorInterface("VN5650", 580),
        VectorInterface("VN7600", 552),
        VectorInterface("VN7610", 574),
        VectorInterface("VN7640", 568),
        VectorInterface("VN8900", 553),
        Model("SILKIT", 581, "Vector Informatik GmbH SilKit"),
        Model("VectorIPClient", 571, "Vector Informatik GmbH IPClient Interface"),
        Model("BusPlug2", 524),
        Model("BusBoard_PCI", 525, "BusBoard-PCI"),
        Model("BusBoardX_PCIe", 533, "BusBoardX-PCIe"),
        Model("BusStick", 526),
        Model("BusStick_USB", 546, "BusStick USB"),
        Model("J2534", 527),
        Model("RP1210", 557),
        Model("LeafPro_HS", 536, "Kvaser Leaf Professional HS"),
        Model("LeafPro_HS_V2", 558, "Kvaser Leaf Professional HS V2"),
        Model("LeafPro_HS_V2_OBDII", 559, "Kvaser Leaf Professional HS V2 OBDII"),
        Model("Leaf_Light_HS", 547, "Kvaser Leaf Light HS"),
        Model("Leaf_Light_HS_OBDII", 554, "Kvaser Leaf Light HS OBDII"),
        Model("Leaf_Light_HS_V2", 556, "Kvaser Leaf Light HS V2"),
        Model("Leaf_Light_HS_V2_OBDII", 555, "Kvaser Leaf Light HS V2 OBDII"),
        Model("MemPro_HS_HS", 537, "Kvaser Memorator Professional HS/HS"),
        Model("USBcanII_HS_LS", 538, "Kvaser USBcanII HS/LS"),
        Model("PCIcanx_HS_HS", 539, "Kvaser PCIcanx HS/HS"),
        Model("PCIEcan_HS_HS", 540, "Kvaser PCIEcan HS/HS"),
        Model("PCIEcan_HS_V2", 560, "Kvaser PCIEcan HS V2"),
        Model("U100", 575, "Kvaser U100"),
        Model("BrontoMid", 578),
        Model("BRONTOMID_DIAGNOSTIC_VCI", 579, "BRONTOMID DIAGNOSTIC VCI"),
        Model("QuickProbe_CAN", 582, "QuickProbe CAN"),
        Model("PCIEcan_2xHS_V2", 561, "Kvaser PCIEcan 2xHS V2"),
        Model("USBcan_Pro_5xHS", 562, "Kvaser USBcan Pro 5xHS"),
        Model("USBcan_Pro_2xHS_V2", 563, "Kvaser USBcan Pro 2xHS V2"),
        Model("USBcan_Light_2xHS", 577, "Kvaser USBcan Light 2xHS"),
        Model("BrontoMini", 570),
        Model("MVCI_ISO_13400_DoIP_Entity", 541, "Virtual DoIP Entity MVCI"),
        Model("MVCI_ISO_13400_DoIP_Vehicle", 542, "Virtual DoIP Vehicle MVCI"),
        Model("MVCI_ISO_13400_DoIP_Group", 543, "Virtual DoIP Group MVCI"),
        Model("MVCI_ISO_13400_DoIP_Collection", 544, "Virtual DoIP Collection MVCI"),
    };
}

const std::vector<Row>& Table()
{
    static const std::vector<Row> table = BuildTable();
    return table;
}

}  // namespace

int HardwareModelCount() { return static_cast<int>(Table().size()); }

const HardwareModel& HardwareModelAt(int index) { return Table().at(static_cast<size_t>(index)); }

int FindHardwareModel(const std::string& idName)
{
    const std::vector<Row>& table = Table();
    for (size_t i = 0; i < table.size(); ++i)
        if (table[i].idName == idName) return static_cast<int>(i);
    return HardwareModelCount();
}

bool IsDoIpHardwareType(uint32_t moduleTypeId) { return moduleTypeId >= 541 && moduleTypeId <= 544; }
