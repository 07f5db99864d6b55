// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

#include "norvexdata/pipenet/CheckSearchGraph.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::test {

// A drawing of pipes from text: Net("a-b b-c c-a") has three pipes that form a triangle. Each letter is a point of its
// own, far from all others, no three of them in line.
class Net {
  public:
    Net() = default;
    explicit Net(const std::string& text) {
        for (std::size_t at = 0; at + 2 < text.size() + 1; at += 4) {
            Pipe(PointOf(text[at]), PointOf(text[at + 2]));
        }
    }

    static AcGePoint3d PointOf(char letter) {
        const double number = letter - 'a';
        return {1000.0 * number, 10.0 * number * number, 0.0};
    }

    ZrOwPolyLine& Pipe(const AcGePoint3d& start, const AcGePoint3d& end) {
        ZrOwPolyLine& pipe = m_pipes.emplace_back(start, end);
        m_list.push_back(&pipe);
        return pipe;
    }

    ZrOwPolyLine& operator[](std::size_t number) { return m_pipes[number]; }
    std::size_t size() const { return m_pipes.size(); }
    std::vector<ZrOwEntity*>& list() { return m_list; }

    std::vector<CCheckPipeLineGraph> Search() const {
        std::vector<CCheckPipeLineGraph> graphs;
        CCheckSearchGraph().SearchGraph(m_list, graphs);
        return graphs;
    }

    // The loops of all networks, each as the numbers of its pipes.
    std::vector<std::vector<int>> Loops() {
        std::vector<std::vector<ZrOwEntity*>> loops;
        for (CCheckPipeLineGraph& graph : Search()) {
            graph.GetBadLoopVec(loops);
        }
        return Numbers(loops);
    }

    std::vector<std::vector<int>> Numbers(const std::vector<std::vector<ZrOwEntity*>>& loops) {
        std::vector<std::vector<int>> numbers;
        for (const std::vector<ZrOwEntity*>& loop : loops) {
            numbers.emplace_back();
            for (const ZrOwEntity* entity : loop) {
                int number = 0;
                while (entity != &m_pipes[static_cast<std::size_t>(number)]) {
                    ++number;
                }
                numbers.back().push_back(number);
            }
        }
        return numbers;
    }

  private:
    std::deque<ZrOwPolyLine> m_pipes;
    std::vector<ZrOwEntity*> m_list;
};

}  // namespace norvex::test
