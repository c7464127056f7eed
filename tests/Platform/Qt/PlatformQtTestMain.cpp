// One QApplication for the whole suite, as the editor has one.
#include <QApplication>

#include "Support/QtApplicationEnvironment.h"

[[maybe_unused]] static const auto* const kQtApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QApplication>);
