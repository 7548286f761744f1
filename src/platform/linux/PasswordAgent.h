#pragma once

#include "PolkitService.h"
#include "SecretText.h"

namespace platform {

// Has polkit authorize the process and answers its question in the place of the session's agent: for the
// administrator named, with the password, once, through PAM. Nobody sees anything, and the password is wiped
// as soon as it has been handed on. A minute at the most.
bool authorizeWithPassword(const PolkitProcess& subject, uid_t administrator, SecretText& password);

} // namespace platform
