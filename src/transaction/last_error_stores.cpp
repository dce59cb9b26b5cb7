#include "last_error_stores.h"

#include "process_wide.h"

namespace zel {

clLastErrorStore<std::string>& messageStore()
{
    using Store = clLastErrorStore<std::string>;
    static constinit ProcessWide<Store> store;
    return store.get([] { return Store{[](const std::string& words) { return words.size(); }}; });
}

clLastErrorStore<std::unique_ptr<clRxTelContainer>>& dataStore()
{
    using Answer = std::unique_ptr<clRxTelContainer>;
    using Store = clLastErrorStore<Answer>;
    static constinit ProcessWide<Store> store;
    return store.get(
        [] { return Store{[](const Answer& answer) { return answer ? answer->size() : 0; }}; });
}

void dropHugeErrors(std::uint64_t uuid)
{
    messageStore().dropIfHuge(uuid);
    dataStore().dropIfHuge(uuid);
}

void clearLastErrorStores()
{
    messageStore().clear();
    dataStore().clear();
}

} // namespace zel
