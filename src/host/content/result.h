#pragma once

#include <i18n/trstring.h>

#include <QString>

#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/// Why something was not done, for those who asked for it.
struct Failure
{
    enum class Kind {
        /// The request makes no sense.
        WrongUse,
        /// The worker has refused, or the host in its place.
        Refused,
        /// The worker has neither answered nor refused.
        Unanswered,
        /// The client, or the end of the host, has cancelled it.
        Cancelled,
        /// The answer would be longer than the client takes.
        TooLarge,
        /// The host has too much under way.
        Busy
    };

    Kind kind;
    /// For people.
    TrString message;
    /// Of a refusal: the error's name, for programs, and its title, for people.
    QString name = {};
    TrString title = {};

    [[nodiscard]] static Failure wrongUse(const TrString& message) { return {Kind::WrongUse, message}; }
};

/// A value, or why there is none.
template<typename T>
class [[nodiscard]] Result
{
public:
    Result(T value) : m_content(std::move(value)) {}
    Result(Failure failure) : m_content(std::move(failure)) {}

    [[nodiscard]] explicit operator bool() const { return std::holds_alternative<T>(m_content); }

    /// Valid only with a value.
    [[nodiscard]] T& value() { return std::get<T>(m_content); }
    [[nodiscard]] const T& value() const { return std::get<T>(m_content); }
    /// Valid only on failure.
    [[nodiscard]] const Failure& failure() const { return std::get<Failure>(m_content); }

private:
    std::variant<T, Failure> m_content;
};

/// Success, or why there is none.
template<>
class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    Result(Failure failure) : m_failure(std::move(failure)) {}

    [[nodiscard]] explicit operator bool() const { return !m_failure; }

    /// Valid only on failure.
    [[nodiscard]] const Failure& failure() const { return *m_failure; }

private:
    std::optional<Failure> m_failure;
};

/// The values that `make` returns for each of the inputs, or its first failure.
template<typename Inputs, typename Make>
[[nodiscard]] auto collect(Inputs& inputs, Make make)
{
    using Value = std::decay_t<decltype(make(*inputs.begin()).value())>;
    std::vector<Value> values;
    for (auto& input : inputs) {
        Result<Value> made = make(input);
        if (!made)
            return Result<std::vector<Value>>(made.failure());
        values.push_back(std::move(made.value()));
    }
    return Result<std::vector<Value>>(std::move(values));
}
