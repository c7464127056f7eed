// One QApplication for the whole suite, as the editor has one.
#include "QtTestSupport.h"

[[maybe_unused]] static const auto* const kQtApplication =
    ::testing::AddGlobalTestEnvironment(new platform::qt::testing::QtApplication);
