#pragma once

#include <string>

class ComParamValueFamily;

// What the editors ask of the link window that opened them: its value routines (their limits
// differ between the two kinds of link window) and the folder memory of its file boxes.
class EditorOwner {
public:
    virtual const ComParamValueFamily& ValueFamily() const = 0;
    // The folder a file box starts in: the one chosen last on this link, else the one the
    // settings file keeps for the protocol.
    virtual std::string InitialFolder() const = 0;
    // The path a file box reported; the link writes its folder to the settings file on close.
    virtual void RememberPath(const std::string& path) = 0;

protected:
    ~EditorOwner() = default;
};
