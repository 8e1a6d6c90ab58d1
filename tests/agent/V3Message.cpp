#include "tests/agent/V3Message.h"

#include "tests/agent/Ber.h"

namespace agent_test {

std::string V3Message::ScopedPdu() const {
    std::string list;
    for (const VarBind& varBind : varBinds) {
        list += ber::Field(ber::kSequence, varBind.name + varBind.value);
    }
    const std::string pdu = ber::Integer(requestId) + ber::Integer(errorStatus) + ber::Integer(errorIndex) +
                            ber::Field(ber::kSequence, list);
    return ber::Field(ber::kSequence, ber::Field(ber::kOctetString, contextEngineId) +
                                          ber::Field(ber::kOctetString, contextName) + ber::Field(command, pdu));
}

std::string V3Message::Encode(const V3User& user, const Change& change) const {
    std::string scoped = change ? change(ScopedPdu()) : ScopedPdu();
    std::string salt;
    if ((flags & kPrivFlag) != 0) {
        for (unsigned int shift = 0; shift < 64; shift += 8) {
            salt += static_cast<char>(static_cast<std::uint64_t>(id) >> shift & 0xFFU);
        }
        scoped = ber::Field(ber::kOctetString, user.Encrypt(std::move(scoped), boots, time, salt));
    }
    const std::size_t digestLength = (flags & kAuthFlag) != 0 ? user.DigestLength() : 0;
    const std::string header = ber::Integer(id) + ber::Integer(maxSize) +
                               ber::Field(ber::kOctetString, std::string(1, static_cast<char>(flags))) +
                               ber::Integer(3);
    const std::string upToDigest = ber::Field(ber::kOctetString, engineId) + ber::Integer(boots) + ber::Integer(time) +
                                   ber::Field(ber::kOctetString, user.Name());
    const std::string afterDigest = ber::Field(ber::kOctetString, salt);
    const std::string security = ber::Field(
        ber::kSequence, upToDigest + ber::Field(ber::kOctetString, std::string(digestLength, '\0')) + afterDigest);
    std::string message = ber::Field(ber::kSequence, ber::Integer(3) + ber::Field(ber::kSequence, header) +
                                                         ber::Field(ber::kOctetString, security) + scoped);
    if (digestLength > 0) {
        const std::size_t place = message.size() - scoped.size() - afterDigest.size() - digestLength;
        message.replace(place, digestLength, user.DigestOf(message));
    }
    return message;
}

bool V3Message::ReadScopedPdu(std::string_view octets) {
    ber::Reader reader(octets);
    ber::Reader scoped(reader.Take(ber::kSequence).value_or(""));
    const auto contextEngine = scoped.Take(ber::kOctetString);
    const auto context = scoped.Take(ber::kOctetString);
    command = scoped.Tag();
    const auto pdu = scoped.Take();
    if (!contextEngine || !context || !pdu) {
        return false;
    }
    contextEngineId = *contextEngine;
    contextName = *context;
    ber::Reader fields(*pdu);
    const auto request = fields.TakeInteger();
    const auto status = fields.TakeInteger();
    const auto index = fields.TakeInteger();
    const auto list = fields.Take(ber::kSequence);
    if (!request || !status || !index || !list || !fields.IsAtEnd()) {
        return false;
    }
    requestId = *request;
    errorStatus = *status;
    errorIndex = *index;
    for (ber::Reader rest(*list); !rest.IsAtEnd();) {
        const auto one = rest.Take(ber::kSequence);
        ber::Reader parts(one.value_or(""));
        const auto name = parts.Take(ber::kOid);
        const auto tag = parts.Tag();
        const auto value = parts.Take();
        if (!name || !value || !parts.IsAtEnd()) {
            return false;
        }
        varBinds.push_back({ber::Field(ber::kOid, std::string(*name)), ber::Field(tag, std::string(*value))});
    }
    return true;
}

std::optional<V3Message> V3Message::Decode(std::string_view octets, const V3User& user) {
    V3Message message;
    ber::Reader outer(octets);
    ber::Reader fields(outer.Take(ber::kSequence).value_or(""));
    const auto version = fields.TakeInteger();
    ber::Reader header(fields.Take(ber::kSequence).value_or(""));
    ber::Reader packed(fields.Take(ber::kOctetString).value_or(""));
    const auto id = header.TakeInteger();
    const auto maxSize = header.TakeInteger();
    const auto flags = header.Take(ber::kOctetString);
    ber::Reader security(packed.Take(ber::kSequence).value_or(""));
    const auto engine = security.Take(ber::kOctetString);
    const auto boots = security.TakeInteger();
    const auto time = security.TakeInteger();
    const auto name = security.Take(ber::kOctetString);
    const auto digest = security.Take(ber::kOctetString);
    const auto salt = security.Take(ber::kOctetString);
    if (!outer.IsAtEnd() || version != 3 || !id || !maxSize || !flags || flags->size() != 1 || !engine || !boots ||
        !time || !name || !digest || !salt) {
        return std::nullopt;
    }
    message.id = *id;
    message.maxSize = *maxSize;
    message.flags = static_cast<unsigned char>((*flags)[0]);
    message.engineId = *engine;
    message.boots = static_cast<std::uint32_t>(*boots);
    message.time = static_cast<std::uint32_t>(*time);
    if ((message.flags & kAuthFlag) != 0) {
        std::string zeroed(octets);
        const auto place = static_cast<std::size_t>(digest->data() - octets.data());
        zeroed.replace(place, digest->size(), digest->size(), '\0');
        if (!user.HasDigest() || digest->size() != user.DigestLength() || user.DigestOf(zeroed) != *digest) {
            return std::nullopt;
        }
    }
    std::string scoped;
    if ((message.flags & kPrivFlag) != 0) {
        const auto sealed = fields.Take(ber::kOctetString);
        if (!user.HasCipher() || !sealed) {
            return std::nullopt;
        }
        scoped = user.Decrypt(std::string(*sealed), message.boots, message.time, std::string(*salt));
    } else {
        const auto tag = fields.Tag();
        scoped = ber::Field(tag, std::string(fields.Take().value_or("")));
    }
    if (!fields.IsAtEnd() || !message.ReadScopedPdu(scoped)) {
        return std::nullopt;
    }
    return message;
}

}  // namespace agent_test
