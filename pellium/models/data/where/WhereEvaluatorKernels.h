#pragma once

// The row routines of WhereEvaluator: one template per shape (a leaf over its cells, a constant, a
// compound), each giving the per-row test and the two batch loops from the same cell test, so that
// both paths always agree. Internal to the library; included by WhereEvaluator.cpp only.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/where/WhereEvaluator.h"
#include "pellium/util/MathUtilities.h"

namespace pellium {

struct WhereEvaluator::Kernel {
    bool (*evaluateRow)(const WhereEvaluator& node, std::uint32_t row);
    /// Writes the selected rows of [begin, end), at most one batch, to `out`; answers their count.
    std::size_t (*selectRange)(const WhereEvaluator& node, std::uint32_t begin, std::uint32_t end, std::uint32_t* out,
                               Scratch& scratch, int depth);
    /// Writes the selected rows among `rows` (ascending, at most one batch) to `out`, which may be
    /// `rows` itself; answers their count.
    std::size_t (*selectListed)(const WhereEvaluator& node, const std::uint32_t* rows, std::size_t count,
                                std::uint32_t* out, Scratch& scratch, int depth);
};

class WhereEvaluator::Scratch {
public:
    /// Rows per batch: small enough that a batch's selections stay in the first-level cache.
    static constexpr std::uint32_t BATCH_ROWS = 2048;
    static constexpr int SLOTS_PER_LEVEL = 4;

    /// A buffer of BATCH_ROWS rows owned by nesting level `depth`; allocated on first use only.
    std::uint32_t* buffer(int depth, int slot) {
        const auto position = static_cast<std::size_t>(depth) * SLOTS_PER_LEVEL + static_cast<std::size_t>(slot);
        if (position >= buffers_.size()) {
            buffers_.resize(position + 1);
        }
        auto& buffer = buffers_[position];
        if (buffer.size() < BATCH_ROWS) {
            buffer.resize(BATCH_ROWS);
        }
        return buffer.data();
    }

private:
    std::vector<std::vector<std::uint32_t>> buffers_;
};

struct WhereEvaluatorKernels {
    using Kernel = WhereEvaluator::Kernel;
    using Scratch = WhereEvaluator::Scratch;

    [[noreturn]] static void throwRowBeyondColumn(std::uint64_t row, std::size_t size) {
        throw std::out_of_range("WhereEvaluator: row " + std::to_string(row) + " is beyond the column's " +
                                std::to_string(size) + " rows");
    }
    static void checkRow(std::uint64_t row, std::size_t size) {
        if (row >= size) [[unlikely]] {
            throwRowBeyondColumn(row, size);
        }
    }

    // The two loops every leaf shares: each row is written to the selection and kept by advancing
    // the count when it passes, so that the loop has no branch on the data.
    template <typename Cells>
    static std::size_t selectRange(const Cells& cells, std::uint32_t begin, std::uint32_t end, std::uint32_t* out) {
        std::size_t count = 0;
        for (std::uint32_t row = begin; row < end; ++row) {
            out[count] = row;
            count += cells(row) ? 1 : 0;
        }
        return count;
    }
    template <typename Cells>
    static std::size_t selectListed(const Cells& cells, const std::uint32_t* rows, std::size_t rowCount,
                                    std::uint32_t* out) {
        std::size_t count = 0;
        for (std::size_t index = 0; index < rowCount; ++index) {
            const std::uint32_t row = rows[index];
            out[count] = row;
            count += cells(row) ? 1 : 0;
        }
        return count;
    }

    // A leaf's kernel from its cell access: `Cells(node)` binds the node's vectors and constant,
    // `cells(row)` tests an unchecked row, `cells.size()` bounds the rows.
    template <typename Cells>
    struct Leaf {
        static bool evaluateRow(const WhereEvaluator& node, std::uint32_t row) {
            const Cells cells(node);
            checkRow(row, cells.size());
            return cells(row);
        }
        static std::size_t selectRange(const WhereEvaluator& node, std::uint32_t begin, std::uint32_t end,
                                       std::uint32_t* out, Scratch&, int) {
            const Cells cells(node);
            if (begin < end) {
                checkRow(end - 1, cells.size());
            }
            return WhereEvaluatorKernels::selectRange(cells, begin, end, out);
        }
        static std::size_t selectListed(const WhereEvaluator& node, const std::uint32_t* rows, std::size_t count,
                                        std::uint32_t* out, Scratch&, int) {
            const Cells cells(node);
            if (count > 0) {
                checkRow(rows[count - 1], cells.size());  // rows ascend: the last is the largest
            }
            return WhereEvaluatorKernels::selectListed(cells, rows, count, out);
        }
        static constexpr Kernel kernel{&evaluateRow, &selectRange, &selectListed};
    };

    // --- Numeric cells ---

    struct NumericConstant {
        double value;
        double epsilon;
    };

    template <typename Operation>
    struct NumberCells {
        explicit NumberCells(const WhereEvaluator& node)
            : data(node.numbers_ ? node.numbers_->data() : nullptr),
              count(node.numbers_ ? node.numbers_->size() : 0),
              constant{node.numericConstant_, node.epsilon_} {}
        std::size_t size() const { return count; }
        bool operator()(std::size_t row) const { return Operation::test(data[row], constant); }

        const double* data;
        std::size_t count;
        NumericConstant constant;
    };

    // Exact comparisons with a constant that is not missing. NaN fails every IEEE comparison, so
    // "missing sorts below every number" is the negation of the opposite test.
    struct NumericEq {
        static bool test(double cell, NumericConstant k) { return cell == k.value; }
    };
    struct NumericNe {
        static bool test(double cell, NumericConstant k) { return cell != k.value && cell == cell; }
    };
    struct NumericLt {
        static bool test(double cell, NumericConstant k) { return !(cell >= k.value); }
    };
    struct NumericLe {
        static bool test(double cell, NumericConstant k) { return !(cell > k.value); }
    };
    struct NumericGt {
        static bool test(double cell, NumericConstant k) { return cell > k.value; }
    };
    struct NumericGe {
        static bool test(double cell, NumericConstant k) { return cell >= k.value; }
    };
    // What the comparisons become with a missing constant.
    struct NumericMissing {
        static bool test(double cell, NumericConstant) { return cell != cell; }
    };
    struct NumericNotMissing {
        static bool test(double cell, NumericConstant) { return cell == cell; }
    };
    template <bool result>
    struct NumericConstantResult {
        static bool test(double, NumericConstant) { return result; }
    };
    // Tolerant comparisons.
    template <bool (*compare)(double, double, double) noexcept>
    struct Tolerant {
        static bool test(double cell, NumericConstant k) { return compare(cell, k.value, k.epsilon); }
    };

    // --- String cells ---

    // A test of one cell text against the node's constant; a null text is a cell without text.
    struct StringEq {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            if (!text) {
                return false;
            }
            return node.valueIsMissing_ ? StringUtilities::isStringMissing(*text) : *text == *node.stringConstant_;
        }
    };
    struct StringNe {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            return text && !StringEq::test(text, node);
        }
    };
    struct InternEq {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            const SharedString& constant = node.stringConstant_;
            return text && (text == constant || (constant && *text == *constant));
        }
    };
    struct InternNe {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            return text && !InternEq::test(text, node);
        }
    };
    template <typename Order>
    struct StringOrder {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            if (!text) {
                return false;
            }
            const std::string_view constant = node.stringConstant_ ? *node.stringConstant_ : std::string_view();
            return Order{}(std::string_view(*text).compare(constant), 0);
        }
    };
    struct StringMissing {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            return !text || (node.compareFormatted_ && *text == ".") || StringUtilities::isStringMissing(*text);
        }
    };
    struct StringNotMissing {
        static bool test(const SharedString& text, const WhereEvaluator& node) {
            return text && !StringMissing::test(text, node);
        }
    };

    // Texts fetched per row: explicit texts, or the formatted numbers of a numeric column. The
    // column checks the row itself.
    template <typename Operation>
    struct TextCells {
        explicit TextCells(const WhereEvaluator& node) : column(node.column_.get()), owner(&node) {}
        std::size_t size() const { return std::numeric_limits<std::size_t>::max(); }
        bool operator()(std::size_t row) const {
            const auto columnRow = static_cast<std::int32_t>(static_cast<std::uint32_t>(row));
            const SharedString text = owner->compareFormatted_ ? column->getFormattedValueAtIndex(columnRow, false)
                                                               : column->getStringAtIndex(columnRow);
            return Operation::test(text, *owner);
        }

        const Column* column;
        const WhereEvaluator* owner;
    };

    // Token codes -100 to -1 sit before the string-table indices in the verdict table.
    static constexpr std::uint32_t TOKEN_OFFSET = 100;

    struct IndexVerdictCells {
        explicit IndexVerdictCells(const WhereEvaluator& node)
            : indices(node.stringIndices_->data()),
              count(node.stringIndices_->size()),
              verdicts(node.verdicts_.data()),
              verdictCount(static_cast<std::uint32_t>(node.verdicts_.size())),
              nullTextVerdict(node.nullTextVerdict_) {}
        std::size_t size() const { return count; }
        bool operator()(std::size_t row) const {
            const std::uint32_t position = static_cast<std::uint32_t>(indices[row]) + TOKEN_OFFSET;
            return position < verdictCount ? verdicts[position] != 0 : nullTextVerdict;
        }

        const std::int32_t* indices;
        std::size_t count;
        const std::uint8_t* verdicts;
        std::uint32_t verdictCount;
        bool nullTextVerdict;
    };

    // One index has the wanted text and no other cell qualifies: the test is one integer compare.
    struct IndexEqualsCells {
        explicit IndexEqualsCells(const WhereEvaluator& node)
            : indices(node.stringIndices_->data()),
              count(node.stringIndices_->size()),
              wanted(node.onlyMatchingIndex_) {}
        std::size_t size() const { return count; }
        bool operator()(std::size_t row) const { return indices[row] == wanted; }

        const std::int32_t* indices;
        std::size_t count;
        std::int32_t wanted;
    };

    // --- Constant nodes ---

    template <bool result>
    struct Constant {
        static bool evaluateRow(const WhereEvaluator&, std::uint32_t) { return result; }
        static std::size_t selectRange(const WhereEvaluator&, std::uint32_t begin, std::uint32_t end,
                                       std::uint32_t* out, Scratch&, int) {
            if constexpr (!result) {
                return 0;
            }
            fillRange(begin, end, out);
            return end - begin;
        }
        static std::size_t selectListed(const WhereEvaluator&, const std::uint32_t* rows, std::size_t count,
                                        std::uint32_t* out, Scratch&, int) {
            if constexpr (!result) {
                return 0;
            }
            if (out != rows) {
                std::copy(rows, rows + count, out);
            }
            return count;
        }
        static constexpr Kernel kernel{&evaluateRow, &selectRange, &selectListed};
    };

    static void fillRange(std::uint32_t begin, std::uint32_t end, std::uint32_t* out) {
        for (std::uint32_t row = begin; row < end; ++row) {
            out[row - begin] = row;
        }
    }

    // --- Compound nodes ---

    static bool evaluateChild(const std::shared_ptr<WhereEvaluator>& child, std::uint32_t row) {
        return child->kernel_->evaluateRow(*child, row);
    }
    static std::size_t selectChild(const std::shared_ptr<WhereEvaluator>& child, const std::uint32_t* rows,
                                   std::size_t count, std::uint32_t* out, Scratch& scratch, int depth) {
        return child->kernel_->selectListed(*child, rows, count, out, scratch, depth + 1);
    }

    /// Removes from the ascending `rows` those also in the ascending `removed`, in place.
    static std::size_t removeListed(std::uint32_t* rows, std::size_t count, const std::uint32_t* removed,
                                    std::size_t removedCount) {
        std::size_t kept = 0;
        std::size_t next = 0;
        for (std::size_t index = 0; index < count; ++index) {
            const std::uint32_t row = rows[index];
            while (next < removedCount && removed[next] < row) {
                ++next;
            }
            if (next < removedCount && removed[next] == row) {
                continue;
            }
            rows[kept++] = row;
        }
        return kept;
    }

    // Compounds that test a listed selection test a range through the list of its rows.
    template <typename Compound>
    static std::size_t selectRangeThroughList(const WhereEvaluator& node, std::uint32_t begin, std::uint32_t end,
                                              std::uint32_t* out, Scratch& scratch, int depth) {
        fillRange(begin, end, out);
        return Compound::selectListed(node, out, end - begin, out, scratch, depth);
    }

    struct And {
        static bool evaluateRow(const WhereEvaluator& node, std::uint32_t row) {
            for (const auto& child : node.children_) {
                if (!evaluateChild(child, row)) {
                    return false;
                }
            }
            return true;
        }
        // The first child selects from the range; each later child narrows the selection in place.
        static std::size_t selectRange(const WhereEvaluator& node, std::uint32_t begin, std::uint32_t end,
                                       std::uint32_t* out, Scratch& scratch, int depth) {
            if (node.children_.empty()) {
                fillRange(begin, end, out);
                return end - begin;
            }
            const auto& first = node.children_.front();
            std::size_t count = first->kernel_->selectRange(*first, begin, end, out, scratch, depth + 1);
            return narrow(node, 1, out, count, scratch, depth);
        }
        static std::size_t selectListed(const WhereEvaluator& node, const std::uint32_t* rows, std::size_t count,
                                        std::uint32_t* out, Scratch& scratch, int depth) {
            if (node.children_.empty()) {
                if (out != rows) {
                    std::copy(rows, rows + count, out);
                }
                return count;
            }
            count = selectChild(node.children_.front(), rows, count, out, scratch, depth);
            return narrow(node, 1, out, count, scratch, depth);
        }
        static std::size_t narrow(const WhereEvaluator& node, std::size_t firstChild, std::uint32_t* rows,
                                  std::size_t count, Scratch& scratch, int depth) {
            for (std::size_t index = firstChild; index < node.children_.size() && count > 0; ++index) {
                count = selectChild(node.children_[index], rows, count, rows, scratch, depth);
            }
            return count;
        }
        static constexpr Kernel kernel{&evaluateRow, &selectRange, &selectListed};
    };

    struct Or {
        static bool evaluateRow(const WhereEvaluator& node, std::uint32_t row) {
            for (const auto& child : node.children_) {
                if (evaluateChild(child, row)) {
                    return true;
                }
            }
            return false;
        }
        // Each child tests only the rows that no earlier child selected, as the row walk does.
        static std::size_t selectListed(const WhereEvaluator& node, const std::uint32_t* rows, std::size_t count,
                                        std::uint32_t* out, Scratch& scratch, int depth) {
            std::uint32_t* remaining = scratch.buffer(depth, 0);
            std::uint32_t* hits = scratch.buffer(depth, 1);
            std::uint32_t* selected = scratch.buffer(depth, 2);
            std::uint32_t* merged = scratch.buffer(depth, 3);
            std::copy(rows, rows + count, remaining);
            std::size_t remainingCount = count;
            std::size_t selectedCount = 0;
            for (const auto& child : node.children_) {
                if (remainingCount == 0) {
                    break;
                }
                const std::size_t hitCount = selectChild(child, remaining, remainingCount, hits, scratch, depth);
                if (hitCount == 0) {
                    continue;
                }
                selectedCount = static_cast<std::size_t>(
                    std::merge(selected, selected + selectedCount, hits, hits + hitCount, merged) - merged);
                std::swap(selected, merged);
                remainingCount = removeListed(remaining, remainingCount, hits, hitCount);
            }
            std::copy(selected, selected + selectedCount, out);
            return selectedCount;
        }
        static constexpr Kernel kernel{&evaluateRow, &selectRangeThroughList<Or>, &selectListed};
    };

    struct Not {
        static bool evaluateRow(const WhereEvaluator& node, std::uint32_t row) {
            return !node.children_.empty() && !evaluateChild(node.children_.front(), row);
        }
        static std::size_t selectListed(const WhereEvaluator& node, const std::uint32_t* rows, std::size_t count,
                                        std::uint32_t* out, Scratch& scratch, int depth) {
            if (node.children_.empty()) {
                return 0;
            }
            std::uint32_t* hits = scratch.buffer(depth, 0);
            const std::size_t hitCount = selectChild(node.children_.front(), rows, count, hits, scratch, depth);
            if (out != rows) {
                std::copy(rows, rows + count, out);
            }
            return removeListed(out, count, hits, hitCount);
        }
        static constexpr Kernel kernel{&evaluateRow, &selectRangeThroughList<Not>, &selectListed};
    };
};

}  // namespace pellium
