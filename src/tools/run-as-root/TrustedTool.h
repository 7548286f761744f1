#pragma once

#include "linux/FileDescriptor.h"

#include <string>

// A tool that nobody but root can have put where it is, or can exchange: the file, every folder on the way to
// it and every link that is followed belong to root, and nobody else may write to them, by a group or an
// access list either. A sticky folder, in which others may not touch what is root's, will do on the way, but
// not as the folder the tool lies in.
class TrustedTool {
public:
    // Opens it once; what is checked afterwards is what was opened. Throws Refusal.
    explicit TrustedTool(const std::string& path);

    // The file's own name, once all links have been followed.
    const std::string& name() const { return name_; }

    // Becomes the tool. Returns, with `errno`, only when that fails.
    //
    // It is started by its name in the folder it was opened in, so that the process goes by that name, as
    // those who signal processes by name expect; by its descriptor alone it would be called after that, and a
    // script after its interpreter. ESTALE when root has put another file there since it was checked.
    //
    // A script is read by its interpreter through the folder, which therefore stays open in the script, as
    // the only descriptor besides the streams; `$0` names it.
    void execute(char* const* arguments, char* const* environment) const;

private:
    platform::FileDescriptor folder_; // both close when the tool starts
    platform::FileDescriptor file_;
    std::string name_;
};
