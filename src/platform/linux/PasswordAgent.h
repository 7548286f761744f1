#pragma once

#include "PolkitService.h"
#include "SecretText.h"

namespace platform {

// Lies in a library of its own, vt_password_agent.so, which is loaded on demand.
//
// Has polkit authorize the process and answers its question in the place of the session's agent: for the
// administrator named, with the password, once, through PAM. Nobody sees anything, and the password is wiped
// as soon as it has been handed on. A minute at the most.
extern "C" bool vtAuthorizeWithPassword(const PolkitProcess& subject, uid_t administrator,
                                        SecretText& password);
using AuthorizeWithPassword = decltype(vtAuthorizeWithPassword);

} // namespace platform
