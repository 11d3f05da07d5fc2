// What a link dialog needs of the main dialog that opened it.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "description/DescriptionTables.h"
#include "logical_link/LinkComParams.h"

class CLinkBaseDlg;
class Dialog;

class LinkHost {
public:
    // The one lock of every log write in the program.
    virtual std::recursive_mutex& GetPrintLock() = 0;
    virtual std::string GetIniPath() = 0;
    // The bus type, protocol and ComParam tables of the description; valid while links are open.
    virtual LinkComParams::Model GetDescriptionModel() = 0;
    // A copy of the module's vendor error table.
    virtual std::vector<ErrorCodeInfo> CopyVendorErrors() = 0;
    // Set while a link is created for the create flags that need no resource.
    virtual bool LinkWithoutComParamsAllowed() = 0;
    virtual void OnLinkClosed(CLinkBaseDlg* dialog) = 0;

protected:
    ~LinkHost() = default;
};
