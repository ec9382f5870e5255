#include "ChannelSelection.h"

#include <fnmatch.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include <kalvo/foundation/KException.h>

#include "DisplayText.h"

namespace {

// A whole number from 1, or 0 when text is not one.
long numberOf(const std::string& text) {
    if (text.empty() || !std::all_of(text.begin(), text.end(),
                                     [](char c) { return isdigit(static_cast<unsigned char>(c)); }))
        return 0;
    return text.size() > 9 ? 0 : strtol(text.c_str(), nullptr, 10);
}

bool isPattern(const std::string& text) { return text.find_first_of("*?[") != std::string::npos; }

// Edits (insert, delete, replace) from a to b, case ignored.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            const bool same = tolower(static_cast<unsigned char>(a[i - 1])) ==
                              tolower(static_cast<unsigned char>(b[j - 1]));
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (same ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

}  // namespace

ChannelSelection::ChannelSelection(const KComtradeConfig& config, std::string record)
    : analogCount_(static_cast<int>(config.analogs.size())), record_(std::move(record)) {
    for (const auto& a : config.analogs) names_.emplace_back(a.id.c_str());
    for (const auto& d : config.digitals) names_.emplace_back(d.id.c_str());
}

std::string ChannelSelection::closest(const std::string& item) const {
    std::vector<std::pair<size_t, std::string>> ranked;
    for (const std::string& name : names_) ranked.emplace_back(distance(item, name), name);
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::string list;
    for (size_t i = 0; i < ranked.size() && i < 5; ++i) {
        if (i > 0 && ranked[i].second == ranked[i - 1].second) continue;
        list += (list.empty() ? "" : ", ") + DisplayText::escape(ranked[i].second);
    }
    return list;
}

std::vector<int> ChannelSelection::select(const std::vector<std::string>& list, int kinds) const {
    const int count = getCount();
    std::vector<int> chosen;
    auto take = [&](int index, const std::string& item) {
        const int kind = isDigital(index) ? DIGITAL : ANALOG;
        if (!(kinds & kind))
            KException::raise("Usage", "channel %d (%s, from '%s') is %s channel; this command "
                              "takes %s channels",
                              index + 1, DisplayText::escape(names_[index]).c_str(),
                              DisplayText::escape(item).c_str(),
                              kind == DIGITAL ? "a status" : "an analog",
                              kinds == DIGITAL ? "status" : "analog");
        if (std::find(chosen.begin(), chosen.end(), index) == chosen.end())
            chosen.push_back(index);
    };
    if (list.empty()) {
        for (int k = 0; k < count; ++k)
            if (kinds & (isDigital(k) ? DIGITAL : ANALOG)) chosen.push_back(k);
        return chosen;
    }
    for (const std::string& item : list) {
        // Names first: a channel may well be called "1-2" or "*".
        std::vector<int> found;
        for (int k = 0; k < count; ++k)
            if (names_[k] == item) found.push_back(k);
        for (int k = 0; k < count && found.empty(); ++k)
            if (strcasecmp(names_[k].c_str(), item.c_str()) == 0) found.push_back(k);
        if (found.empty()) {
            const size_t dash = item.find('-');
            const long single = numberOf(item);
            const long from = dash == std::string::npos ? 0 : numberOf(item.substr(0, dash));
            const long to = dash == std::string::npos ? 0 : numberOf(item.substr(dash + 1));
            if (single > 0 || (from > 0 && to > 0)) {
                const long first = single > 0 ? single : from, last = single > 0 ? single : to;
                if (first > last || last > count)
                    KException::raise("Usage", "%s has channels 1 to %d, not '%s'",
                                      record_.c_str(), count, item.c_str());
                for (long n = first; n <= last; ++n) {
                    const int k = static_cast<int>(n - 1);
                    // A range takes the channels of the wanted kind within it.
                    if (single > 0 || (kinds & (isDigital(k) ? DIGITAL : ANALOG))) found.push_back(k);
                }
            } else if (isPattern(item)) {
                for (int k = 0; k < count; ++k)
                    if (fnmatch(item.c_str(), names_[k].c_str(), 0) == 0 &&
                        (kinds & (isDigital(k) ? DIGITAL : ANALOG)))
                        found.push_back(k);
                if (found.empty())
                    KException::raise("Usage", "%s has no %schannel matching '%s'",
                                      record_.c_str(),
                                      kinds == ANALOG ? "analog " : kinds == DIGITAL ? "status " : "",
                                      DisplayText::escape(item).c_str());
            }
        }
        if (found.empty())
            KException::raise("Usage", "%s has no channel '%s'; the closest: %s (kalvo info lists all %d)",
                              record_.c_str(), DisplayText::escape(item).c_str(),
                              closest(item).c_str(), count);
        for (int k : found) take(k, item);
    }
    return chosen;
}
