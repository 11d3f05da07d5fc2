#include "description/UridTable.h"

void UridTable::Clear()
{
    for (auto& params : m_params)
        for (PDU_PARAM_ITEM& item : params) m_family.FreeValue(&item.pComParamData, item.ComParamDataType);
    m_params.clear();
    m_entries.clear();
}

size_t UridTable::AddEntry(uint32_t urid, uint32_t count)
{
    m_entries.push_back(PDU_ECU_UNIQUE_RESP_DATA{urid, count, nullptr});
    m_params.emplace_back(count, PDU_PARAM_ITEM{});
    return m_entries.size() - 1;
}

PDU_UNIQUE_RESP_ID_TABLE_ITEM* UridTable::Item() const
{
    for (size_t i = 0; i < m_entries.size(); ++i) {
        m_entries[i].NumParamItems = static_cast<UNUM32>(m_params[i].size());
        m_entries[i].pParams = m_params[i].empty() ? nullptr : m_params[i].data();
    }
    m_item = PDU_UNIQUE_RESP_ID_TABLE_ITEM{PDU_IT_UNIQUE_RESP_ID_TABLE, static_cast<UNUM32>(m_entries.size()),
                                           m_entries.empty() ? nullptr : m_entries.data()};
    return &m_item;
}
