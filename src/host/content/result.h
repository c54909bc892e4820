#pragma once

#include <QString>

#include <utility>
#include <variant>

/// Why something was not done, for whoever asked for it.
struct Failure
{
    enum class Kind {
        /// What was asked for makes no sense.
        WrongUse,
        /// The worker has refused.
        Refused,
        /// The worker has neither answered nor refused.
        Unanswered
    };

    Kind kind;
    /// For people, in their language.
    QString message;
    /// Of a refusal: the error's name, for programs, and its title, for people.
    QString name = {};
    QString title = {};

    [[nodiscard]] static Failure wrongUse(const QString& message) { return {Kind::WrongUse, message}; }
};

/// Stands for the value of what gives none.
struct Done
{
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
    /// Valid only without a value.
    [[nodiscard]] const Failure& failure() const { return std::get<Failure>(m_content); }

private:
    std::variant<T, Failure> m_content;
};
