// The computed size of a varbind, compared with the SNMP library's encoding.

#include "agent/cvtagentd/snmp/MessageSize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

using Arcs = std::vector<oid>;

/// A varbind, and the value that it points to.
class Sample {
public:
    Sample(const Arcs& name, unsigned int type) : m_name(name) {
        m_varBind.type = static_cast<u_char>(type);
        m_name.resize(std::max<std::size_t>(name.size(), 1));
        m_varBind.name = m_name.data();
        m_varBind.name_length = name.size();
    }
    Sample(const Arcs& name, unsigned int type, long number) : Sample(name, type) {
        m_number = number;
        m_varBind.val.integer = &m_number;
        m_varBind.val_len = sizeof m_number;
    }
    Sample(const Arcs& name, const Arcs& value) : Sample(name, ASN_OBJECT_ID) {
        m_arcs = value;
        m_arcs.resize(std::max<std::size_t>(value.size(), 1));
        m_varBind.val.objid = m_arcs.data();
        m_varBind.val_len = value.size() * sizeof(oid);
    }
    Sample(const Arcs& name, unsigned int type, const std::string& octets) : Sample(name, type) {
        m_octets = octets;
        m_varBind.val.string = reinterpret_cast<u_char*>(m_octets.data());
        m_varBind.val_len = octets.size();
    }
    Sample(const Sample&) = delete;
    Sample& operator=(const Sample&) = delete;

    /// Expects that it takes no more than the computed size, and not much less.
    void ExpectFits() {
        std::size_t room = 100000;
        auto* packet = static_cast<u_char*>(std::malloc(room));
        std::size_t encoded = 0;
        ASSERT_NE(::snmp_realloc_rbuild_var_op(&packet, &room, &encoded, 1, m_varBind.name, &m_varBind.name_length,
                                               m_varBind.type, m_varBind.val.string, m_varBind.val_len),
                  0);
        std::free(packet);
        EXPECT_GE(MessageSize::Of(m_varBind), encoded) << Describe();
        EXPECT_LE(MessageSize::Of(m_varBind), encoded + 20) << Describe();
    }

private:
    std::string Describe() const {
        return "type " + std::to_string(m_varBind.type) + ", " + std::to_string(m_varBind.name_length) +
               " arcs, value of " + std::to_string(m_varBind.val_len) + ", number " + std::to_string(m_number);
    }

    variable_list m_varBind{};
    Arcs m_name;
    Arcs m_arcs;
    std::string m_octets;
    long m_number = 0;
};

const Arcs kName = {1, 3, 6, 1, 2, 1, 25};

TEST(MessageSize, ANumberTakesNoMoreThanItsComputedSizeWhateverItsWordHolds) {
    for (unsigned int bits = 0; bits < 64; ++bits) {
        const unsigned long word = 1UL << bits;
        for (const unsigned long pattern : {word, word - 1, 0 - word, ~word}) {
            const auto number = static_cast<long>(pattern);
            Sample(kName, ASN_INTEGER, static_cast<int>(number)).ExpectFits();
            for (const unsigned int type : {unsigned{ASN_COUNTER}, unsigned{ASN_GAUGE}, unsigned{ASN_TIMETICKS}}) {
                Sample(kName, type, number).ExpectFits();
            }
        }
    }
}

TEST(MessageSize, AnIdentifierTakesNoMoreThanItsComputedSizeAtAnyLength) {
    for (const oid arc : {0UL, 39UL, 127UL, 128UL, 16383UL, 16384UL, 0xFFFFFFFFUL}) {
        for (std::size_t length = 0; length <= MAX_OID_LEN; ++length) {
            Arcs arcs(length, arc);
            if (length > 0) {
                arcs[0] = arc > 39 ? 2 : 1;
            }
            if (length > 1 && arc == 0xFFFFFFFF) {
                arcs[1] = arc - 80;
            }
            Sample(arcs, ASN_NULL).ExpectFits();
            Sample(kName, arcs).ExpectFits();
        }
    }
}

TEST(MessageSize, OctetsTakeNoMoreThanTheirComputedSizeWhereTheLengthFieldGrows) {
    for (const std::size_t around : {std::size_t{10}, std::size_t{128}, std::size_t{256}, std::size_t{65536}}) {
        for (std::size_t length = around - 10; length < around + 10; ++length) {
            for (const unsigned int type : {unsigned{ASN_OCTET_STR}, unsigned{ASN_OPAQUE}}) {
                Sample(kName, type, std::string(length, 'x')).ExpectFits();
            }
        }
    }
    Sample(kName, ASN_IPADDRESS, std::string(4, 'x')).ExpectFits();
    for (const unsigned int type : {unsigned{ASN_NULL}, unsigned{SNMP_NOSUCHOBJECT}, unsigned{SNMP_NOSUCHINSTANCE},
                                    unsigned{SNMP_ENDOFMIBVIEW}}) {
        Sample(kName, type).ExpectFits();
    }
}

}  // namespace
}  // namespace cvtagentd
