#pragma once

#include <vector>

// Heights of a sequence of blocks in a Fenwick tree: the top of a block, a change of height and
// the block at a given position each cost O(log n), appending costs O(log n) too.
class DHeightIndex
{
public:
    void clear()
    {
        m_heights.clear();
        m_tree.assign(1, 0);
    }
    int size() const { return int(m_heights.size()); }

    void append(int height)
    {
        m_heights.push_back(height);
        const int node = size(); // 1-based
        // The node sums the heights of (node - lowbit(node), node].
        m_tree.push_back(height + prefix(node - 1) - prefix(node - (node & -node)));
    }

    // Appends many heights at once; when they are at least as many as those already there,
    // the tree is built again in one linear pass instead of one O(log n) step per height.
    void append(const std::vector<int>& heights)
    {
        if (heights.size() < m_heights.size()) {
            for (const int height : heights)
                append(height);
            return;
        }
        m_heights.insert(m_heights.end(), heights.begin(), heights.end());
        m_tree.assign(m_heights.size() + 1, 0);
        // Each node, once complete, adds its sum to the node whose range covers its own.
        for (int node = 1; node <= size(); ++node) {
            m_tree[node] += m_heights[node - 1];
            const int above = node + (node & -node);
            if (above <= size())
                m_tree[above] += m_tree[node];
        }
    }

    void setHeight(int index, int height)
    {
        const int delta = height - m_heights[index];
        if (delta == 0)
            return;
        m_heights[index] = height;
        for (int node = index + 1; node <= size(); node += node & -node)
            m_tree[node] += delta;
    }

    // The sum of the heights of the blocks before `index`.
    long long top(int index) const { return prefix(index); }
    long long total() const { return prefix(size()); }

    // The block that covers position `y` (the last one when y lies beyond the end); -1 if empty.
    int blockAt(long long y) const
    {
        if (m_heights.empty())
            return -1;
        int node = 0;
        long long sum = 0;
        int step = 1;
        while (step * 2 <= size())
            step *= 2;
        for (; step > 0; step /= 2) {
            if (node + step <= size() && sum + m_tree[node + step] <= y) {
                node += step;
                sum += m_tree[node];
            }
        }
        return node < size() ? node : size() - 1;
    }

private:
    long long prefix(int count) const
    {
        long long sum = 0;
        for (int node = count; node > 0; node -= node & -node)
            sum += m_tree[node];
        return sum;
    }

    std::vector<int> m_heights;
    std::vector<long long> m_tree = std::vector<long long>(1, 0);
};
