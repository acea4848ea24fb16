#include "Oxa/System/Nm/Subscription.hpp"

#include "Oxa/System/Nm/Internal/SubscriberQueue.hpp"

#include <utility>

namespace Oxa::System::Nm
{

Subscription::Subscription(std::shared_ptr<Internal::SubscriberQueue> queue) : queue(std::move(queue)) {}

Subscription::~Subscription()
{
    queue->Close();
}

} // namespace Oxa::System::Nm
