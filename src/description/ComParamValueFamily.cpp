#include "description/ComParamValueFamily.h"

#include "description/ComParamValue.h"

void ComParamValueFamily::FreeValue(void** value, uint32_t dataType) const { ::FreeValue(value, dataType); }
