#include "ReplayDiff.h"

#include <algorithm>

namespace {

constexpr size_t kContext = 3;
// Beyond this many cells the middle is shown as one change rather than aligned line by line.
constexpr size_t kMaxTableCells = 16u * 1024u * 1024u;

enum class Op { Same, Del, Add };

struct Edit {
    Op op;
    size_t a;  // line in expected (Same, Del)
    size_t b;  // line in actual (Same, Add)
};

// The edits between a[a0, a1) and b[b0, b1) by a longest common subsequence.
void alignMiddle(const std::vector<std::string>& a, size_t a0, size_t a1, const std::vector<std::string>& b, size_t b0,
                 size_t b1, std::vector<Edit>* edits) {
    const size_t n = a1 - a0, m = b1 - b0;
    if (n == 0 || m == 0 || n * m > kMaxTableCells) {
        for (size_t i = a0; i < a1; ++i) edits->push_back({Op::Del, i, b0});
        for (size_t j = b0; j < b1; ++j) edits->push_back({Op::Add, a1, j});
        return;
    }
    // lcs[i][j]: common length of a[a0+i..a1) and b[b0+j..b1).
    std::vector<uint32_t> lcs((n + 1) * (m + 1), 0);
    auto at = [&](size_t i, size_t j) -> uint32_t& { return lcs[i * (m + 1) + j]; };
    for (size_t i = n; i-- > 0;) {
        for (size_t j = m; j-- > 0;) {
            at(i, j) = a[a0 + i] == b[b0 + j] ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
        }
    }
    size_t i = 0, j = 0;
    while (i < n || j < m) {
        if (i < n && j < m && a[a0 + i] == b[b0 + j]) {
            edits->push_back({Op::Same, a0 + i, b0 + j});
            ++i;
            ++j;
        } else if (i < n && (j == m || at(i + 1, j) >= at(i, j + 1))) {
            // Removed lines before added ones, as diff -u shows them.
            edits->push_back({Op::Del, a0 + i, b0 + j});
            ++i;
        } else {
            edits->push_back({Op::Add, a0 + i, b0 + j});
            ++j;
        }
    }
}

}  // namespace

std::string unifiedDiff(const std::vector<std::string>& a, const std::vector<std::string>& b,
                        const std::string& expectedName, const std::string& actualName) {
    if (a == b) return std::string();
    size_t head = 0;
    while (head < a.size() && head < b.size() && a[head] == b[head]) ++head;
    size_t tail = 0;
    while (tail < a.size() - head && tail < b.size() - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) ++tail;
    std::vector<Edit> edits;
    for (size_t i = 0; i < head; ++i) edits.push_back({Op::Same, i, i});
    alignMiddle(a, head, a.size() - tail, b, head, b.size() - tail, &edits);
    for (size_t k = tail; k > 0; --k) edits.push_back({Op::Same, a.size() - k, b.size() - k});

    std::string out = "--- " + expectedName + "\n+++ " + actualName + "\n";
    size_t k = 0;
    while (k < edits.size()) {
        while (k < edits.size() && edits[k].op == Op::Same) ++k;
        if (k == edits.size()) break;
        // A hunk: from kContext lines before this change to kContext lines after the last
        // change that is no more than 2 * kContext unchanged lines away.
        size_t start = k >= kContext ? k - kContext : 0;
        size_t end = k;
        size_t same = 0;
        for (size_t e = k; e < edits.size(); ++e) {
            if (edits[e].op == Op::Same) {
                if (++same > 2 * kContext) break;
            } else {
                same = 0;
                end = e;
            }
        }
        end = std::min(edits.size(), end + 1 + kContext);
        size_t aStart = 0, aCount = 0, bStart = 0, bCount = 0;
        bool aSet = false, bSet = false;
        for (size_t e = start; e < end; ++e) {
            if (edits[e].op != Op::Add) {
                if (!aSet) aStart = edits[e].a, aSet = true;
                ++aCount;
            }
            if (edits[e].op != Op::Del) {
                if (!bSet) bStart = edits[e].b, bSet = true;
                ++bCount;
            }
        }
        // Empty ranges name the line before them, as diff -u does.
        if (!aSet) aStart = edits[start].a;
        if (!bSet) bStart = edits[start].b;
        out += "@@ -" + std::to_string(aCount ? aStart + 1 : aStart) + "," + std::to_string(aCount) + " +" +
               std::to_string(bCount ? bStart + 1 : bStart) + "," + std::to_string(bCount) + " @@\n";
        for (size_t e = start; e < end; ++e) {
            const Edit& x = edits[e];
            if (x.op == Op::Same) out += " " + a[x.a] + "\n";
            if (x.op == Op::Del) out += "-" + a[x.a] + "\n";
            if (x.op == Op::Add) out += "+" + b[x.b] + "\n";
        }
        k = end;
    }
    return out;
}
