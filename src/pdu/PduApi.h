// The one table through which every part of the bench calls the loaded D-PDU API library.
#pragma once

#include "pdu/MorvaneExtensions.h"

struct PduApiTable {
#define QUILLON_PDU_SLOT(name, params) PFN_##name name = nullptr;
    QUILLON_PDU_FUNCTIONS(QUILLON_PDU_SLOT)
    QUILLON_PDUSE_FUNCTIONS(QUILLON_PDU_SLOT)
#undef QUILLON_PDU_SLOT
};

// Filled by BindPduApi, never cleared: after the library is freed the slots keep their stale
// values and callers are kept away by the main dialog's state flags.
extern PduApiTable PduApi;

// Resolves an exported name of a loaded library; null when it is missing.
using PduSymbolLookup = void* (*)(void* library, const char* name);

// Looks up the 33 functions in their fixed order. A missing ISO export gets a stand-in that answers
// PDU_ERR_FCT_FAILED, so a call through it is logged as a failure instead of crashing; the four
// direct CAN extensions stay null, because their users ask whether they exist. The four dropped
// functions are looked up and left out, as the bench never calls them.
void BindPduApi(void* hModule, PduSymbolLookup lookup);

// The names in lookup order, for tests and diagnostics.
extern const char* const kPduApiLookupOrder[33];
