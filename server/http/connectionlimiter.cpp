#include "http/connectionlimiter.h"

ConnectionLimiter::ConnectionLimiter(std::size_t total, std::size_t perAddress)
    : total_(total), perAddress_(perAddress) {}

ConnectionLimiter::Ticket::Ticket(ConnectionLimiter &owner, std::string address)
    : owner_(owner), address_(std::move(address)) {}

ConnectionLimiter::Ticket::~Ticket() {
    owner_.release(address_);
}

std::unique_ptr<ConnectionLimiter::Ticket> ConnectionLimiter::acquire(const std::string &address) {
    std::lock_guard lock(mutex_);
    auto &count = byAddress_[address];
    if (open_ >= total_ || count >= perAddress_) {
        if (count == 0)
            byAddress_.erase(address);
        return nullptr;
    }
    ++count;
    ++open_;
    return std::make_unique<Ticket>(*this, address);
}

std::size_t ConnectionLimiter::open() const {
    std::lock_guard lock(mutex_);
    return open_;
}

void ConnectionLimiter::release(const std::string &address) {
    std::lock_guard lock(mutex_);
    --open_;
    if (const auto it = byAddress_.find(address); it != byAddress_.end() && --it->second == 0)
        byAddress_.erase(it);
}
