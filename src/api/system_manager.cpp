#include "system_manager.h"

#include "last_error_stores.h"
#include "module_texts.h"
#include "result_texts.h"

namespace zel {

// The first range lies inside the second; both are looked through, which does no harm.
clSystemMgr::clSystemMgr()
    : m_texts(resultTexts(), {1'100'000, 1'999'999}, {1'000'000, 1'999'999},
              {-1'599'999, -1'000'000})
{
}

clSystemMgr::~clSystemMgr()
{
    clearLastErrorStores();
    dropTextFromModule();
}

} // namespace zel
