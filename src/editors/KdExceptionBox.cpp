#include "editors/KdExceptionBox.h"

#include <cstdio>

void ShowKdException(ui::Ui& ui, const KdException& e)
{
    char text[512];
    std::snprintf(text, sizeof text, "Exception %d\n%s\n%s", static_cast<int>(e.GetCode()), e.GetText(), e.GetWhere());
    ui.MessageBox(text, "Error", ui::MB_OK);
}
