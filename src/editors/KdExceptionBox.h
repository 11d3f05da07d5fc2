// The box every failure of the monitor service reaches the user in.
#pragma once

#include "pdu/KdObject.h"
#include "ui/Ui.h"

void ShowKdException(ui::Ui& ui, const KdException& e);
