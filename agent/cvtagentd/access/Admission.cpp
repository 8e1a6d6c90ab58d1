#include "agent/cvtagentd/access/Admission.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

bool IsSwitchedOff(int flag) { return ::netsnmp_ds_get_boolean(NETSNMP_DS_LIBRARY_ID, flag) != 0; }

bool IsOff(int securityModel) {
    switch (securityModel) {
        case SNMP_SEC_MODEL_SNMPv1: return IsSwitchedOff(NETSNMP_DS_LIB_DISABLE_V1);
        case SNMP_SEC_MODEL_SNMPv2c: return IsSwitchedOff(NETSNMP_DS_LIB_DISABLE_V2c);
        default: return IsSwitchedOff(NETSNMP_DS_LIB_DISABLE_V3);
    }
}

/// The library keeps the length of a name in its first octet, where the name is part of an index.
std::string_view IndexText(const char* field) { return {field + 1, static_cast<unsigned char>(field[0])}; }

/// The least security level at which the group may read something; 0 when it may not.
int LeastLevel(const vacm_groupEntry& group) {
    int least = 0;
    vacm_accessEntry* access = nullptr;
    for (::vacm_scanAccessInit(); (access = ::vacm_scanAccessNext()) != nullptr;) {
        const bool isForModel =
            access->securityModel == SNMP_SEC_MODEL_ANY || access->securityModel == group.securityModel;
        if (isForModel && IndexText(access->groupName) == group.groupName && access->views[VACM_VIEW_READ][0] != '\0' &&
            std::string_view(access->views[VACM_VIEW_READ]) != "none" &&
            (least == 0 || access->securityLevel < least)) {
            least = access->securityLevel;
        }
    }
    return least;
}

bool HasProtocol(const oid* protocol, std::size_t length, const oid* none, std::size_t noneLength) {
    return ::snmp_oid_compare(protocol, length, none, noneLength) != 0;
}

/// The highest security level that the user's keys allow; 0 when there is no such user.
int HighestLevel(std::string_view name) {
    int highest = 0;
    for (const usmUser* user = ::usm_get_userList(); user != nullptr; user = user->next) {
        if (user->secName == nullptr || name != user->secName) {
            continue;
        }
        int level = SNMP_SEC_LEVEL_NOAUTH;
        if (HasProtocol(user->authProtocol, user->authProtocolLen, usmNoAuthProtocol, OID_LENGTH(usmNoAuthProtocol))) {
            level =
                HasProtocol(user->privProtocol, user->privProtocolLen, usmNoPrivProtocol, OID_LENGTH(usmNoPrivProtocol))
                    ? SNMP_SEC_LEVEL_AUTHPRIV
                    : SNMP_SEC_LEVEL_AUTHNOPRIV;
        }
        highest = std::max(highest, level);
    }
    return highest;
}

}  // namespace

void Admission::WarnIfNobody() {
    std::set<std::string> missing;
    std::set<std::string> weak;
    vacm_groupEntry* group = nullptr;
    for (::vacm_scanGroupInit(); (group = ::vacm_scanGroupNext()) != nullptr;) {
        const int needed = LeastLevel(*group);
        if (needed == 0 || IsOff(group->securityModel)) {
            continue;
        }
        const std::string name(IndexText(group->securityName));
        const bool isUser = group->securityModel == SNMP_SEC_MODEL_USM;
        const int highest = isUser ? HighestLevel(name) : SNMP_SEC_LEVEL_AUTHPRIV;
        if (highest >= needed) {
            return;
        }
        (highest == 0 ? missing : weak).insert(name);
    }
    std::string text = "nobody can get in: ";
    if (!missing.empty()) {
        text += "the configuration grants access to users that do not exist (" + agent::Joined(missing) +
                "); add one with cvtagentd --create-user " + *missing.begin();
    } else if (!weak.empty()) {
        text += "the configuration demands more security than the keys of its users allow (" + agent::Joined(weak) +
                "); give them new ones with cvtagentd --change-user " + *weak.begin();
    } else {
        text +=
            "the configuration grants access to no SNMPv3 user, and communities are switched off; add a line such "
            "as \"rouser reader authpriv\"";
    }
    Log::Warning(text);
}

}  // namespace cvtagentd
