// Feeds arbitrary text to the expression parser. A text that parses must print as text that
// parses again to an equal tree, and evaluating it against a row must not fail; deep nesting must
// come back as an error, never as a stack overflow.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pellium/formatters/FormatterFactory.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/rules/expressions/ValueMapExpressionContext.h"
#include "pellium/util/expressions/ExpressionUtil.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    pellium::ExpressionParseError error;
    const auto expression = pellium::ExpressionUtil::createExpressionTree(text, error);
    if (!expression) {
        if (error.message.empty() || error.offset > size) {
            __builtin_trap();
        }
        return 0;
    }
    const auto reread = pellium::ExpressionUtil::createExpression(expression->toString());
    if (!reread || !reread->isEqual(*expression)) {
        __builtin_trap();
    }
    static const auto context = [] {
        auto row = pellium::ValueMapExpressionContext::create();
        row->setNumber("x", 2.5);
        row->setText("t", "East");
        return row;
    }();
    expression->hasValidTypeAgreement();
    expression->evaluateAsBoolean(*context);
    expression->evaluateAsNumber(*context);
    expression->evaluateAsString(*context);
    // Format(x, name) caches a formatter per name; keep the cache from growing without bound.
    if (pellium::FormatterFactory::instance()->getNumberOfCachedFormatters() > 10000) {
        pellium::FormatterFactory::instance()->clearFormatterCache();
    }
    return 0;
}
