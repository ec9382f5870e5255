#pragma once

#include <string>
#include <vector>

#include "toolkit/ToolkitTestSupport.h"

namespace ktest {

// Listens to components and keeps the names of the actions they tell, in order.
class Recorder : public KComponent {
public:
    void actionPerformed(KEvent& e) override { names.emplace_back(e.getName().c_str()); }
    // How many of the actions had the name.
    int count(const char* name) const {
        int n = 0;
        for (const std::string& s : names) n += s == name;
        return n;
    }
    std::vector<std::string> names;
};

// A component with a given minimum height (and preferred size).
class Sized : public KComponent {
public:
    Sized(const char* name, int minimumHeight, CSize preferred = CSize(40, 40))
        : KComponent(name), minimum_(minimumHeight), preferred_(preferred) {}
    CSize getMinimumSize() const override { return CSize(10, minimum_); }
    CSize getPreferredSize() const override { return preferred_; }

private:
    int minimum_;
    CSize preferred_;
};

// Puts the component on a panel that is the canvas' root, at the bounds.
template <class T>
T* hosted(KCanvas& canvas, T* component, CRect bounds) {
    auto* root = new KPanel("root");
    canvas.setRoot(root);
    component->setBounds(bounds);
    root->add(component);
    return component;
}

}  // namespace ktest
