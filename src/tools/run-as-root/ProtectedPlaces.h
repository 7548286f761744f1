#pragma once

#include <string>
#include <vector>

// What no tool may take away, whatever the program that asks believes: the folders at the top of the file
// system, mount points, homes, and what has one of the latter two inside.
//
// This keeps accidents from happening. Somebody who exchanges folders on the way at the right moment is not
// kept from anything; but then he has root's rights already.
class ProtectedPlaces {
public:
    // As things are now. Throws Refusal when they cannot be found out.
    ProtectedPlaces();

    // Is it such a place? Links on the way are followed and "." and ".." resolved; an item that is a link
    // counts as itself, unless a slash follows. What is not there is none.
    bool protects(const std::string& path) const;

private:
    std::vector<std::string> places_; // mount points and homes, without links
};

// Of a call of `rm` or `mv` the paths of what it takes away. `arguments` are without the tool's own name.
std::vector<std::string> removedPaths(const std::string& toolName, const std::vector<std::string>& arguments);
