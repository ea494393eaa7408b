// SPDX-License-Identifier: MIT
#include "examination.h"

#include "library.h"

#include <cstring>
#include <ctime>
#include <fmt/format.h>

namespace device_check {
namespace {

constexpr unsigned char kPattern = 0xAA;  ///< neither NUL nor a character
constexpr double kSlowMilliseconds = 100; ///< worth telling
constexpr long kTimeTolerance = 2;        ///< seconds

Finding fit(std::string detail) {
    return {Verdict::fit, std::move(detail)};
}
Finding defect(std::string detail) {
    return {Verdict::defect, std::move(detail)};
}
Finding not_called(std::string detail) {
    return {Verdict::not_called, std::move(detail)};
}

/// Makes the buffer what the library is to find: one byte throughout but for what is preset.
void prepare(const Operation& operation, const GuardedBuffer& buffer, unsigned char byte) {
    buffer.fill(byte);
    if (operation.preset != 0)
        std::memcpy(buffer.data(), &operation.preset, sizeof operation.preset);
    if (operation.rules != nullptr)
        clear_counts(*operation.rules, buffer.data());
}

bool is_text(const Operation& operation) {
    return operation.kind == Kind::text || operation.kind == Kind::set_text;
}

std::optional<std::string> content_defect(const Operation& operation, const GuardedBuffer& buffer) {
    if (is_text(operation) && std::memchr(buffer.data(), '\0', operation.size) == nullptr)
        return fmt::format("no NUL in its {} bytes", operation.size);
    return operation.rules != nullptr ? record_defect(*operation.rules, buffer.data())
                                      : std::nullopt;
}

/// What the operation gave, without giving away secrets.
std::string describe(const Operation& operation, const GuardedBuffer& buffer) {
    switch (operation.kind) {
    case Kind::text:
        return fmt::format("{} characters", strnlen(buffer.data(), operation.size));
    case Kind::number:
        return fmt::format("value {}", load_number(buffer.data()));
    case Kind::address: {
        const auto* const address = reinterpret_cast<const Address*>(buffer.data());
        return fmt::format("{} port {}", address->host, address->port);
    }
    default:
        return operation.rules != nullptr ? describe_lists(*operation.rules, buffer.data()) : "";
    }
}

void add(std::string& text, const std::string& more) {
    if (!text.empty() && !more.empty())
        text += "; ";
    text += more;
}

/// What a setter gets when its getter gave this.
std::string argument_of(const Operation& operation, const GuardedBuffer& given) {
    return {given.data(), operation.kind == Kind::set_text
                              ? strnlen(given.data(), operation.size - 1) + 1
                              : operation.size};
}

int seconds_until(std::int32_t time) {
    return static_cast<int>(std::max<long>(time - static_cast<long>(std::time(nullptr)), 0));
}

} // namespace

Examination::Examination(Settings settings)
    : settings_(std::move(settings)),
      shared_(sizeof(Call) + sizeof(EntryCalls) * entry_points().size()),
      call_(*reinterpret_cast<Call*>(shared_.data())),
      entry_calls_(reinterpret_cast<EntryCalls*>(shared_.data() + sizeof(Call))) {
    count_entry_calls(entry_calls_);
}

std::optional<std::string> Examination::load() {
    constexpr std::size_t kLongestReason = 1024;
    const SharedPages report(kLongestReason + operations().size());
    const Outcome outcome = run_in_child(1, settings_.limit, [&](const Progress& progress) {
        const Library library(settings_.library);
        library.error().copy(report.data(), kLongestReason - 1);
        for (std::size_t i = 0; i < operations().size(); ++i)
            report.data()[kLongestReason + i] =
                static_cast<char>(library.symbol(operations()[i].name) != nullptr);
        progress.step();
    });
    if (!outcome.accident.empty())
        return settings_.library + ": loading it " + outcome.accident;
    if (report.data()[0] != '\0')
        return std::string(report.data());
    for (std::size_t i = 0; i < operations().size(); ++i)
        present_.push_back(report.data()[kLongestReason + i] != 0);
    return std::nullopt;
}

int Examination::entry_calls(std::size_t entry_point) const {
    return entry_calls_[entry_point].all;
}

bool Examination::has(const Operation& operation) const {
    return present_[static_cast<std::size_t>(&operation - operations().data())];
}

Finding Examination::examine(const Operation& operation) {
    if (!has(operation))
        return defect("symbol missing");
    if (operation.kind != Kind::start && unprepared_.contains(operation.channel))
        return not_called(fmt::format("{} fails", start_of(operation.channel).name));
    examined_ = &operation;
    for (std::size_t i = 0; i < entry_points().size(); ++i)
        entry_calls_[i].inside = 0;
    Finding finding = dispatch(operation);
    for (std::size_t i = 0; i < entry_points().size(); ++i) {
        if (entry_points()[i].acts && entry_calls_[i].inside > 0)
            return defect(fmt::format("calls {} before it returns", entry_points()[i].name));
    }
    return finding;
}

Finding Examination::dispatch(const Operation& operation) {
    if (operation.kind == Kind::start)
        return start(operation);
    if (operation.kind == Kind::value)
        return value(operation);
    if (operation.kind == Kind::check)
        return check(operation);
    if (is_getter(operation.kind))
        return get(operation);
    if (is_setter(operation.kind))
        return settings_.write ? set(operation) : not_called("setter; needs --write");
    if (is_action(operation.kind))
        return settings_.actions.contains(operation.name) ? act(operation)
                                                          : not_called("action; needs --act");
    return not_called("installs firmware; never called");
}

Outcome Examination::run(const Operation& operation, int steps,
                         const std::function<void(const Library&, const Progress&)>& work) {
    const Outcome outcome = run_in_child(steps + 1, settings_.limit, [&](const Progress& progress) {
        const Library library(settings_.library);
        if (operation.kind != Kind::start)
            call_here(library, start_of(operation.channel), nullptr);
        progress.step();
        work(library, progress);
    });
    if (outcome.steps == 0)
        return {0, "before it is called, the library " + outcome.accident};
    return {outcome.steps - 1, outcome.accident};
}

void Examination::call_here(const Library& library, const Operation& operation, void* buffer) {
    void* const symbol = library.symbol(operation.name);
    if (symbol == nullptr)
        return;
    const InsideOperation inside(&operation == examined_);
    const auto begin = std::chrono::steady_clock::now();
    call_.before = std::time(nullptr);
    call_.result = operation.call(symbol, buffer);
    call_.after = std::time(nullptr);
    call_.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

Outcome Examination::call(const Operation& operation, void* buffer) {
    return run(operation, 1, [&](const Library& library, const Progress& progress) {
        call_here(library, operation, buffer);
        progress.step();
    });
}

std::string Examination::time_taken() const {
    return call_.milliseconds < kSlowMilliseconds
               ? ""
               : fmt::format("takes {:.0f} ms", call_.milliseconds);
}

Finding Examination::start(const Operation& operation) {
    const Outcome outcome = call(operation, nullptr);
    if (!outcome.accident.empty()) {
        unprepared_.insert(operation.channel);
        return defect(outcome.accident);
    }
    std::string detail = fmt::format("returns {}", call_.result);
    add(detail, time_taken());
    return fit(detail);
}

/// The second look, at a buffer without zeros. The daemon's are zeroed, so nothing that happens
/// here is a defect.
std::string Examination::what_it_writes(const Operation& operation) {
    const GuardedBuffer buffer(operation.size);
    prepare(operation, buffer, kPattern);
    const std::string before = buffer.content();
    const Outcome outcome = call(operation, buffer.data());
    if (!outcome.accident.empty() || buffer.overrun())
        return "relies on a buffer of zeros";
    return fmt::format("writes {} of {} bytes", buffer.changed_since(before), operation.size);
}

Finding Examination::get(const Operation& operation) {
    const GuardedBuffer buffer(operation.size);
    prepare(operation, buffer, 0);
    const std::string before = buffer.content();
    const Outcome outcome = call(operation, buffer.data());
    if (const auto overrun = buffer.overrun())
        return defect(*overrun + (outcome.accident.empty() ? "" : "; " + outcome.accident));
    if (!outcome.accident.empty())
        return defect(outcome.accident);
    if (const auto wrong = content_defect(operation, buffer))
        return defect(*wrong);
    std::string detail;
    if (call_.result != 0)
        add(detail, fmt::format("returns {}", call_.result));
    if (call_.result != 0 && buffer.changed_since(before) > 0)
        add(detail, "but writes all the same");
    add(detail, describe(operation, buffer));
    add(detail, time_taken());
    add(detail, what_it_writes(operation));
    return fit(detail);
}

Finding Examination::value(const Operation& operation) {
    const Outcome outcome = call(operation, nullptr);
    return outcome.accident.empty() ? fit(fmt::format("value {}", call_.result))
                                    : defect(outcome.accident);
}

Finding Examination::check(const Operation& operation) {
    const std::string nothing(operation.size, '\0');
    const ReadOnlyArgument argument(nothing.data(), nothing.size());
    const Outcome outcome = call(operation, argument.data());
    return outcome.accident.empty()
               ? fit(fmt::format("returns {} for an empty record", call_.result))
               : defect(outcome.accident + " (its argument is read-only and of exact size)");
}

/// Getter, setter, getter again, in one process.
void Examination::write_back(const Library& library, const Operation& operation,
                             const GuardedBuffer& first, const GuardedBuffer& second,
                             const Progress& progress) {
    const Operation* const getter =
        operation.getter != nullptr ? find_operation(operation.getter) : nullptr;
    if (getter != nullptr)
        call_here(library, *getter, first.data());
    if (getter != nullptr && getter->kind == Kind::value)
        std::memcpy(first.data(), &call_.result, sizeof call_.result);
    call_.argument = seconds_until(load_number(first.data()));
    progress.step();
    const std::string content =
        operation.kind == Kind::set_timeout
            ? std::string(reinterpret_cast<char*>(&call_.argument), sizeof call_.argument)
            : argument_of(operation, first);
    const ReadOnlyArgument argument(content.data(), content.size());
    call_here(library, operation, argument.data());
    const Call made = call_;
    progress.step();
    if (getter != nullptr)
        call_here(library, *getter, second.data());
    if (getter != nullptr && getter->kind == Kind::value)
        std::memcpy(second.data(), &call_.result, sizeof call_.result);
    call_ = made;
    progress.step();
}

namespace {

/// What the getter should give back after its setter and doesn't, or nothing.
std::optional<std::string> readback_defect(const Operation& operation, const GuardedBuffer& first,
                                           const GuardedBuffer& second, long earliest,
                                           long latest) {
    const std::int32_t given = load_number(first.data());
    const std::int32_t found = load_number(second.data());
    switch (operation.kind) {
    case Kind::set_text:
    case Kind::set_number:
    case Kind::set_binary:
        if (first.content() != second.content())
            return fmt::format("{} then gives something else", operation.getter);
        return std::nullopt;
    case Kind::advance:
        if (found != given + 1)
            return fmt::format("{} goes from {} to {}", operation.getter, given, found);
        return std::nullopt;
    case Kind::set_timeout:
        if (found < earliest - kTimeTolerance || found > latest + kTimeTolerance)
            return fmt::format("{} then gives {}, not the present time and the seconds given",
                               operation.getter, found);
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

} // namespace

Finding Examination::set(const Operation& operation) {
    const Operation* const getter =
        operation.getter != nullptr ? find_operation(operation.getter) : &operation;
    if (!has(*getter))
        return not_called(fmt::format("{} is missing", getter->name));
    const std::size_t size = std::max(getter->size, sizeof(int));
    const GuardedBuffer first(size);
    const GuardedBuffer second(size);
    const Outcome outcome =
        run(operation, 3, [&](const Library& library, const Progress& progress) {
            write_back(library, operation, first, second, progress);
        });
    if (!outcome.accident.empty() && outcome.steps != 1)
        return not_called(fmt::format("{} {}", getter->name, outcome.accident));
    if (!outcome.accident.empty())
        return defect(outcome.accident + " (its argument is read-only and of exact size)");
    if (operation.kind == Kind::set_nothing)
        return fit(fmt::format("returns {} for an empty record", call_.result));
    if (call_.result != 0)
        return fit(fmt::format("returns {} for what {} gave", call_.result, operation.getter));
    if (const auto wrong = readback_defect(operation, first, second, call_.before + call_.argument,
                                           call_.after + call_.argument))
        return defect(*wrong);
    std::string detail = operation.kind == Kind::advance ? "advances by one" : "written back";
    add(detail, time_taken());
    return fit(detail);
}

Finding Examination::act(const Operation& operation) {
    std::string content(operation.size, '\0');
    if (operation.kind == Kind::action_number)
        std::memcpy(content.data(), &operation.preset, sizeof operation.preset);
    const ReadOnlyArgument argument(content.data(), content.size());
    const Outcome outcome = call(operation, argument.data());
    if (!outcome.accident.empty())
        return defect(outcome.accident);
    std::string detail = fmt::format("returns {}", call_.result);
    add(detail, time_taken());
    return fit(detail);
}

} // namespace device_check
