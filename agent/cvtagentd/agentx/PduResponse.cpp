#include "agent/cvtagentd/agentx/PduResponse.h"

#include "agent/cvtagentd/agentx/PduFormat.h"
#include "agent/cvtagentd/agentx/PduWriter.h"

namespace cvtagentd {
namespace {

constexpr std::size_t kErrorAt = Pdu::kHeaderSize + 4;
constexpr std::size_t kIndexAt = kErrorAt + 2;

}  // namespace

PduResponse::PduResponse(std::string& to, const PduHeader& request, std::uint32_t sysUpTime)
    : m_to(to), m_start(to.size()), m_networkByteOrder(request.Has(kNetworkByteOrder)) {
    PduHeader header = request;
    header.flags = m_networkByteOrder ? kNetworkByteOrder : 0;
    PduWriter writer(to, m_networkByteOrder);
    writer.WriteHeader(header, PduType::kResponse);
    writer.Write(sysUpTime);
    writer.Zeros(4);  // the error and its index
}

PduResponse::~PduResponse() {
    if (!m_isFinished) {
        m_to.resize(m_start);
    }
}

void PduResponse::Add(const CVT::BObjectIdentifier& name, const CVT::BVarBind& value) {
    PduWriter(m_to, m_networkByteOrder).Write(name, value);
}

void PduResponse::Add(const CVT::BObjectIdentifier& name, CVT::ESnmpType type) {
    PduWriter(m_to, m_networkByteOrder).Write(name, type);
}

std::size_t PduResponse::Size() const { return m_to.size() - m_start - Pdu::kHeaderSize; }

void PduResponse::Finish(std::uint16_t error, std::uint16_t index) {
    if (error != 0) {
        m_to.resize(m_start + kIndexAt + sizeof index);
        PduFormat::Write(m_to.data() + m_start + kErrorAt, error, m_networkByteOrder);
        PduFormat::Write(m_to.data() + m_start + kIndexAt, index, m_networkByteOrder);
    }
    PduWriter(m_to, m_networkByteOrder).SetLength(m_start);
    m_isFinished = true;
}

}  // namespace cvtagentd
