// Linear look-ups in the small runtime description tables.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

template <class Row>
const Row* RowById(const std::vector<Row>& table, uint32_t id)
{
    for (const Row& row : table) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

template <class Row>
const Row* RowByName(const std::vector<Row>& table, const std::string& name)
{
    for (const Row& row : table) {
        if (row.name == name) return &row;
    }
    return nullptr;
}
