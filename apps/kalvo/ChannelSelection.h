#pragma once

#include <string>
#include <vector>

#include <kalvo/io/KComtradeConfig.h>

// The channels a command works on, from a list as people write it: numbers from 1 (analog
// channels first, then status channels, as kalvo info numbers them), ranges of numbers
// ("1-4"), names (exact, else ignoring case) and shell-style patterns ("I*", "V?", "[IV]A").
class ChannelSelection {
public:
    enum Kinds { ANALOG = 1, DIGITAL = 2, ANY = 3 };

    // The record's channels, named for messages by record (the file, or the sample's name).
    ChannelSelection(const KComtradeConfig& config, std::string record);

    // Channel indices (number - 1) of list in its order, each once; every channel of the
    // given kinds when list is empty. Raises KException titled "Usage" for an item that
    // names no channel (naming the closest channels there are) or a channel of another kind.
    std::vector<int> select(const std::vector<std::string>& list, int kinds) const;

    int getCount() const { return static_cast<int>(names_.size()); }
    bool isDigital(int index) const { return index >= analogCount_; }

private:
    // The names closest to item (fewest edits, case ignored), closest first.
    std::string closest(const std::string& item) const;

    std::vector<std::string> names_;
    int analogCount_ = 0;
    std::string record_;
};
