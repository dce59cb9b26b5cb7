#include "last_error_stores.h"

#include "process_wide.h"

namespace zel {

LastErrorStore<std::string>& messageStore()
{
    static ProcessWide<LastErrorStore<std::string>> store{
        [](const std::string& words) { return words.size(); }};
    return *store;
}

LastErrorStore<std::unique_ptr<clRxTelContainer>>& dataStore()
{
    static ProcessWide<LastErrorStore<std::unique_ptr<clRxTelContainer>>> store{
        [](const std::unique_ptr<clRxTelContainer>& answer) {
            return answer ? answer->size() : 0;
        }};
    return *store;
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
