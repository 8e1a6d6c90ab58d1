#include "agent/cvtwalk/data/Walk.h"

namespace cvtwalk {
namespace {

std::string Failure(const CVT::BObjectIdentifier& name, const char* relation, int status) {
    return "the walk ends " + std::string(relation) + " " + name.ToString().c_str() + " with error-status " +
           std::to_string(status) + (status == CVT::genErr ? " (genErr)" : "");
}

}  // namespace

bool Walk::Run(const CVT::BObjectIdentifier& root, const Visitor& visitor, std::string& error) {
    const unsigned long long before = m_instances;
    if (!VisitAll(root, visitor, error)) {
        return false;
    }
    if (m_instances == before && !m_names.IsServedUnder(root)) {
        error = root.IsEmpty() ? "the modules serve no instance"
                               : std::string("no instance is served under ") + root.ToString().c_str();
        return false;
    }
    return true;
}

bool Walk::VisitAll(const CVT::BObjectIdentifier& root, const Visitor& visitor, std::string& error) {
    const unsigned long long before = m_instances;
    CVT::BVarBind instance;
    instance.name.Set(root);
    const int exact = m_engine.Get(m_request, instance);
    if (exact == CVT::noError && !instance.IsException()) {
        Visit(instance, visitor);
        return true;
    }
    instance.name.Set(root);
    for (CVT::BObjectIdentifier last = root;; last.Set(instance.name)) {
        if (const int status = m_engine.GetNext(m_request, instance); status != CVT::noError) {
            error = Failure(last, "after", status);
            return false;
        }
        if (instance.type == CVT::kEndOfMibView || !instance.name.StartsWith(root)) {
            break;
        }
        if (instance.name <= last) {
            error = std::string("the walk goes backwards after ") + last.ToString().c_str();
            return false;
        }
        if (!Visit(instance, visitor)) {
            return true;
        }
    }
    if (m_instances == before && exact != CVT::noError) {
        error = Failure(root, "at", exact);
        return false;
    }
    return true;
}

bool Walk::Visit(const CVT::BVarBind& instance, const Visitor& visitor) {
    ++m_instances;
    return visitor(instance, m_names.ObjectOf(instance.name));
}

}  // namespace cvtwalk
