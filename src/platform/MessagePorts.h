#pragma once

#include "PropertyList.h"

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace platform {

// What a call to another process takes too long for is thrown under this name.
inline constexpr const char* kPortTimeoutException = "NSPortTimeoutException";

// The root object that a process has published under the name of a message port. It is reached over a
// connection of its own, which ends with this object. Used by one thread.
//
// A message is named by its keywords without colons, each but the first with a capital letter: `postError:`
// is "postError", `postError:forApp:` is "postErrorForApp".
class RemoteObject {
public:
    // Any object that can be carried, as what it is.
    struct AnyObject {
        PropertyList value;
        bool operator==(const AnyObject&) const = default;
    };

    // One argument; std::monostate is a slot that stays empty.
    using Argument = std::variant<std::monostate, std::string, PropertyList::Dictionary, AnyObject>;

    virtual ~RemoteObject() = default;

    // The protocol that the messages from here on belong to.
    virtual void setProtocol(const std::string& protocol) = 0;

    // Does the object have that message of the protocol? Throws kPortTimeoutException when it has not
    // answered within a second or has gone away.
    virtual bool respondsTo(const std::string& message) = 0;

    // Sends a message that nobody answers. Once this returns it is on its way, whatever becomes of this
    // object; the receiver has not necessarily seen it. Throws kPortTimeoutException when it could not be
    // handed over within a second, and "NSInvalidArgumentException" when an argument cannot be carried.
    virtual void send(const std::string& message, const std::vector<Argument>& arguments) = 0;
};

// Message ports that processes of the user's session publish by name on this machine.
class MessagePorts {
public:
    virtual ~MessagePorts() = default;

    // The root object behind the first of these ports that somebody has published; null when there is none.
    // A process that runs as root looks in the session of the user it works for. Takes a second at most,
    // besides what it takes to find out who that is. Any thread.
    virtual std::unique_ptr<RemoteObject> rootProxy(const std::vector<std::string>& names) = 0;
};

} // namespace platform
