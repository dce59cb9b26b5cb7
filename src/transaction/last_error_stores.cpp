#include "last_error_stores.h"

#include "process_wide.h"

namespace zel {

LastErrorStore<std::string>& messageStore()
{
    static ProcessWide<LastErrorStore<std::string>> store;
    return *store;
}

LastErrorStore<std::unique_ptr<clRxTelContainer>>& dataStore()
{
    static ProcessWide<LastErrorStore<std::unique_ptr<clRxTelContainer>>> store;
    return *store;
}

void clearLastErrorStores()
{
    messageStore().clear();
    dataStore().clear();
}

} // namespace zel
