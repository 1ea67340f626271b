set(OHMWISE_FORMULA_SOURCES formula.cpp formula_format.cpp formula_functions.cpp formula_parser.cpp
    formula_values.cpp)
