#pragma once

#include "PolkitService.h"
#include "SecretText.h"

namespace platform {

enum class PasswordVerdict { Right, Wrong, None }; // none: polkit or PAM could not be asked

// Lies in a library of its own, vt_password_agent.so, which is loaded on demand.
//
// Has polkit authorize the process and answers its question in the place of the session's agent: for the
// administrator named, with the password, once, through PAM. The password is one line; nobody sees anything,
// and it is wiped as soon as it has been handed on. PAM has a minute; where polkit itself has stopped, it
// takes up to another until that is given up.
extern "C" PasswordVerdict vtAuthorizeWithPassword(const PolkitProcess& subject, uid_t administrator,
                                                   SecretText& password);
using AuthorizeWithPassword = decltype(vtAuthorizeWithPassword);

} // namespace platform
