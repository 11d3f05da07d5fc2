// quillon-cli: the main dialog of the bench, driven headless by a script.
#include <fstream>
#include <iostream>

#include "app/CQuillonApp.h"
#include "headless/HeadlessUi.h"
#include "headless/ScriptDriver.h"

namespace {

int Usage()
{
    std::cerr << "usage: quillon-cli [--ini PATH] [--root PATH] [ARGS...] SCRIPT\n"
                 "  SCRIPT is a file of commands, or - for standard input.\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    StartupOptions options;
    std::vector<std::string> rest;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if ((arg == "--ini" || arg == "--root") && i + 1 < argc) {
            (arg == "--ini" ? options.iniPath : options.rootFilePath) = argv[++i];
        } else if (arg == "--help" || arg == "-h") {
            return Usage();
        } else {
            rest.push_back(arg);
        }
    }
    if (rest.empty()) return Usage();
    const std::string scriptPath = rest.back();
    rest.pop_back();
    options.arguments = rest;

    std::ifstream file;
    std::istream* script = &std::cin;
    if (scriptPath != "-") {
        file.open(scriptPath);
        if (!file) {
            std::cerr << "quillon-cli: cannot read script " << scriptPath << "\n";
            return 2;
        }
        script = &file;
    }
    HeadlessUi ui(std::cout);
    ScriptDriver driver(ui, std::cout);
    driver.SetScript(*script);
    theApp.InitInstance(ui, options, [&driver](CQuillonDlg& dlg) { return driver.RunMain(dlg); });
    return theApp.ExitCode();
}
