#pragma once

#include "linux/FileDescriptor.h"

#include <string>

// A tool that nobody but root can have put where it is, or can exchange: the file, every folder on the way to
// it and every link that is followed belong to root, and nobody else may write to them. A sticky folder, in
// which others may not touch what is root's, will do on the way, but not as the folder the tool lies in.
class TrustedTool {
public:
    // Opens it once; what is checked afterwards is what was opened. Throws Refusal.
    explicit TrustedTool(const std::string& path);

    // The file's own name, once all links have been followed.
    const std::string& name() const { return name_; }

    // Becomes the tool, whatever lies at its path by now. Returns, with `errno`, only when that fails.
    //
    // A script is read by its interpreter through the descriptor, which therefore stays open in the script,
    // as the only one besides the streams; `$0` names it.
    void execute(char* const* arguments, char* const* environment) const;

private:
    platform::FileDescriptor file_; // closes when the tool starts
    std::string name_;
};
