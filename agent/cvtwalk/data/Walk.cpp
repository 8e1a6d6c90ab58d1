#include "agent/cvtwalk/data/Walk.h"

#include "CVT/BRequest.h"

namespace cvtwalk {
namespace {

std::string Failure(const CVT::BObjectIdentifier& name, const char* relation, int status) {
    return "the walk ends " + std::string(relation) + " " + name.ToString().c_str() + " with error-status " +
           std::to_string(status) + (status == CVT::genErr ? " (genErr)" : "");
}

}  // namespace

bool Walk::Run(const CVT::BObjectIdentifier& root, std::string& error) {
    m_text.clear();
    m_format.Begin(m_text);
    bool good = Visit(root, error);
    m_format.End(m_text);
    m_output.Write(m_text);
    if (!m_output.Flush()) {
        error = m_output.ErrorText();
        if (!error.empty()) {
            error = "cannot write: " + error;
        }
        return false;
    }
    if (good && m_instances == 0 && !m_names.IsServedUnder(root)) {
        error = root.IsEmpty() ? "the modules serve no instance"
                               : std::string("no instance is served under ") + root.ToString().c_str();
        good = false;
    }
    return good;
}

bool Walk::Visit(const CVT::BObjectIdentifier& root, std::string& error) {
    const CVT::BRequest whole;  // one request, so that it sees one snapshot of whatever moves
    const unsigned int request = whole.Id();
    CVT::BVarBind instance;
    instance.name.Set(root);
    const int exact = m_engine.Get(request, instance);
    if (exact == CVT::noError && !instance.IsException()) {
        Write(instance);
        return true;
    }
    instance.name.Set(root);
    for (CVT::BObjectIdentifier last = root; m_output.Error() == 0; last.Set(instance.name)) {
        if (const int status = m_engine.GetNext(request, instance); status != CVT::noError) {
            error = Failure(last, "behind", status);
            return false;
        }
        if (instance.type == CVT::kEndOfMibView || !instance.name.StartsWith(root)) {
            break;
        }
        if (instance.name <= last) {
            error = std::string("the walk goes backwards behind ") + last.ToString().c_str();
            return false;
        }
        Write(instance);
    }
    if (m_instances == 0 && exact != CVT::noError) {
        error = Failure(root, "at", exact);
        return false;
    }
    return true;
}

void Walk::Write(const CVT::BVarBind& instance) {
    ++m_instances;
    m_format.Add(instance, m_names.ObjectOf(instance.name), m_text);
    m_output.Write(m_text);
    m_text.clear();
}

}  // namespace cvtwalk
