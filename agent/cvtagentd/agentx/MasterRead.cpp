#include "agent/cvtagentd/agentx/MasterRead.h"

#include <algorithm>
#include <utility>

#include "agent/cvtagentd/agentx/PduResponse.h"

namespace cvtagentd {
namespace {

using CVT::BMibEngine;
using CVT::BObjectIdentifier;

/// Copies the name and the value that counts, not what others the varbind has held before.
void Copy(const CVT::BVarBind& from, CVT::BVarBind& to) {
    to.name.Set(from.name);
    to.type = from.type;
    switch (from.type) {
        case CVT::kInteger: to.integer = from.integer; break;
        case CVT::kOctetString: to.octets = from.octets; break;
        case CVT::kObjectIdentifier: to.identifier.Set(from.identifier); break;
        default: to.number = from.number;
    }
}

bool HasValue(const CVT::BVarBind& varBind) {
    switch (varBind.type) {
        case CVT::kInteger:
        case CVT::kOctetString:
        case CVT::kObjectIdentifier:
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: return true;
        default: return false;
    }
}

}  // namespace

ReadTask::Mode MasterRead::ModeOf(PduType type) {
    switch (type) {
        case PduType::kGet: return ReadTask::Mode::kGet;
        case PduType::kGetBulk: return ReadTask::Mode::kGetBulk;
        default: return ReadTask::Mode::kGetNext;
    }
}

MasterRead::MasterRead(const Pdu& asked, std::shared_ptr<const CVT::BRequest> request, const BMibEngine& engine)
    : m_mode(ModeOf(asked.header.type)),
      m_header(asked.header),
      m_request(std::move(request)),
      m_engine(engine),
      m_searches(asked.ranges.size()),
      m_singles(asked.ranges.size()) {
    std::size_t rows = 0;
    if (m_mode == ReadTask::Mode::kGetBulk) {
        m_singles = std::min<std::size_t>(m_singles, asked.nonRepeaters);
        if (const std::size_t columns = m_searches.size() - m_singles; columns > 0) {
            const std::size_t most = (kMostInstances - std::min(kMostInstances, m_singles)) / columns;
            rows = std::min<std::size_t>(asked.maxRepetitions, std::max<std::size_t>(most, 1));
        }
    }
    const std::size_t columns = m_searches.size() - m_singles;
    if (columns > 0 && rows == 0) {
        m_searches.resize(m_singles);
    }
    m_answers.resize(m_singles + columns * rows);
    for (std::size_t place = 0; place < m_searches.size(); ++place) {
        Search& search = m_searches[place];
        search.answer = place;
        search.repeats = place < m_singles ? 0 : rows - 1;
        if (m_mode == ReadTask::Mode::kGet) {
            BeginGet(search, asked.ranges[place]);
        } else {
            BeginSearch(search, asked.ranges[place]);
        }
    }
}

void MasterRead::BeginGet(Search& search, const PduRange& range) {
    search.from = range.start;
    search.group = m_engine.GroupOf(range.start);
    m_answers[search.answer].name = range.start;
    if (search.group == nullptr) {
        m_answers[search.answer].type = CVT::kNoSuchObject;
        search.state = State::kIsOver;
    }
}

void MasterRead::BeginSearch(Search& search, const PduRange& range) {
    search.from = range.includesStart && !range.start.IsEmpty() ? BMibEngine::JustBefore(range.start) : range.start;
    search.end = range.end;
    CVT::BVarBind& answer = m_answers[search.answer];
    answer.name = range.start;
    answer.type = CVT::kEndOfMibView;
    EnterRange(search, m_engine.RangesAfter(range.start));
}

/// Begins with the first of the ranges that are left, if the search reaches it.
void MasterRead::EnterRange(Search& search, std::span<const BMibEngine::Range> ranges) {
    if (ranges.empty() || (!search.end.IsEmpty() && search.end <= ranges.front().begin)) {
        search.state = State::kIsOver;
        search.isAtEnd = true;
        return;
    }
    search.range = &ranges.front();
    search.group = search.range->group;
    search.state = State::kSearches;
    if (search.from < search.range->begin) {
        search.from = BMibEngine::JustBefore(search.range->begin);
    }
}

CVT::BMibImpl* MasterRead::NextGroup(const SetTransactions& sets) const {
    if (m_error != 0) {
        return nullptr;
    }
    const auto search = std::find_if(m_searches.begin(), m_searches.end(), [&](const Search& one) {
        return one.state == State::kSearches && !sets.IsUnderWay(*one.group);
    });
    return search == m_searches.end() ? nullptr : search->group;
}

bool MasterRead::IsAnswered() const {
    return m_tasks == 0 && (m_error != 0 || std::none_of(m_searches.begin(), m_searches.end(), [](const Search& one) {
                                return one.state == State::kSearches;
                            }));
}

/// What the group had nothing for goes on in the next range; a Get always has an answer.
void MasterRead::FinishSearch(Search& search) {
    search.state = State::kIsOver;
    if (search.isFilled || m_error != 0 || search.range == nullptr) {
        return;
    }
    const BObjectIdentifier& end = search.range->end;
    EnterRange(search, end.IsEmpty() ? std::span<const BMibEngine::Range>() : m_engine.RangesAfter(end));
}

void MasterRead::Refuse(const Search& search, int status) {
    const auto index = static_cast<std::uint16_t>(&search - m_searches.data() + 1);
    if (m_error == 0 || index < m_errorIndex) {
        const bool isKnown = status > CVT::noError && status <= CVT::inconsistentName;
        m_error = static_cast<std::uint16_t>(isKnown ? status : CVT::genErr);
        m_errorIndex = index;
    }
}

/// The rows of a GetBulk that are sent: up to the first that a column could not go on to, though it has not ended.
std::size_t MasterRead::NumRows() const {
    const std::size_t columns = m_searches.size() - m_singles;
    std::size_t longest = 0;
    std::size_t least = kMostInstances;
    for (std::size_t column = 0; column < columns; ++column) {
        const Search& search = m_searches[m_singles + column];
        const std::size_t rows = (search.answer - m_singles - column) / columns + 1;
        longest = std::max(longest, rows);
        least = search.isAtEnd ? least : std::min(least, rows);
    }
    return std::min(longest, least);
}

/// A column that has ended says so in each further row.
void MasterRead::FillRows(std::size_t rows) {
    const std::size_t columns = m_searches.size() - m_singles;
    for (std::size_t column = 0; column < columns; ++column) {
        const std::size_t last = m_searches[m_singles + column].answer;
        for (std::size_t at = last + columns; at < m_singles + rows * columns; at += columns) {
            m_answers[at].name.Set(m_answers[last].name);
            m_answers[at].type = CVT::kEndOfMibView;
        }
    }
}

void MasterRead::Respond(std::string& to) {
    PduResponse response(to, m_header);
    if (m_error == 0) {
        const std::size_t columns = m_searches.size() - m_singles;
        const std::size_t rows = columns == 0 ? 0 : NumRows();
        FillRows(rows);
        for (std::size_t at = 0; at < m_singles + rows * columns; ++at) {
            response.Add(m_answers[at]);
            if (response.Size() > Pdu::kLongestPayload) {
                m_error = CVT::tooBig;
                break;
            }
        }
    }
    response.Finish(m_error, m_errorIndex);
}

MasterReadTask::MasterReadTask(std::shared_ptr<MasterRead> read, const CVT::BMibImpl& group)
    : ReadTask(read->m_mode, read->m_request), m_read(std::move(read)), m_number(++m_read->m_lastTask) {
    ++m_read->m_tasks;
    for (MasterRead::Search& search : m_read->m_searches) {
        if (search.state == MasterRead::State::kSearches && search.group == &group) {
            search.state = MasterRead::State::kInTask;
            search.task = m_number;
        }
    }
}

MasterReadTask::~MasterReadTask() { --m_read->m_tasks; }

bool MasterReadTask::Find() {
    const auto& searches = m_read->m_searches;
    while (m_at < searches.size() &&
           (searches[m_at].state != MasterRead::State::kInTask || searches[m_at].task != m_number)) {
        ++m_at;
    }
    return m_at < searches.size();
}

bool MasterReadTask::First() {
    m_at = 0;
    return Find();
}

bool MasterReadTask::Next() {
    ++m_at;
    return Find();
}

bool MasterReadTask::ReadEnd(const BObjectIdentifier& subtree, BObjectIdentifier& end) const {
    const MasterRead::Search& search = At();
    if (search.range == nullptr) {
        return false;
    }
    const bool isFirst = search.range->end.IsEmpty() || (!search.end.IsEmpty() && search.end < search.range->end);
    const BObjectIdentifier& first = isFirst ? search.end : search.range->end;
    if (!first.StartsWith(subtree)) {
        return false;
    }
    end.Set(first);
    return true;
}

bool MasterReadTask::Write(const CVT::BVarBind& instance) {
    if (!HasValue(instance)) {
        return false;
    }
    MasterRead::Search& search = At();
    CVT::BVarBind& answer = m_read->m_answers[search.answer];
    Copy(instance, answer);
    search.octets += answer.type == CVT::kOctetString ? answer.octets.Length() : sizeof answer.number;
    search.isFilled = true;
    return true;
}

void MasterReadTask::WriteException(CVT::ESnmpType exception) {
    MasterRead::Search& search = At();
    m_read->m_answers[search.answer].type = exception;
    search.isFilled = true;
}

bool MasterReadTask::Repeat() {
    MasterRead::Search& search = At();
    const std::size_t columns = m_read->m_searches.size() - m_read->m_singles;
    if (search.repeats == 0 || search.octets > MasterRead::kMostOctets / columns) {
        return false;
    }
    --search.repeats;
    search.isFilled = false;
    const BObjectIdentifier& last = m_read->m_answers[search.answer].name;
    search.answer += columns;
    search.from.Set(last);
    CVT::BVarBind& next = m_read->m_answers[search.answer];
    next.name.Set(last);
    next.type = CVT::kEndOfMibView;
    return true;
}

ReadProgress* MasterReadTask::FindProgress() const { return m_read->m_progress ? &*m_read->m_progress : nullptr; }

ReadProgress& MasterReadTask::Progress() {
    return m_read->m_progress ? *m_read->m_progress : m_read->m_progress.emplace();
}

std::size_t MasterReadTask::NumVarBinds() const {
    std::size_t count = 0;
    for (const MasterRead::Search& search : m_read->m_searches) {
        const bool isOne = search.state == MasterRead::State::kInTask && search.task == m_number;
        count += isOne ? 1 + search.repeats : 0;
    }
    return count;
}

}  // namespace cvtagentd
