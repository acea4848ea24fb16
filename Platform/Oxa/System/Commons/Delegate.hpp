#pragma once

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <memory>
#include <type_traits>
#include <utility>

namespace Oxa
{

template <class Signature>
class IFunctor;

/// The target of a delegate.
template <class R, class... Args>
class IFunctor<R(Args...)>
{
public:
    virtual ~IFunctor() = default;
    virtual R Invoke(Args... args) = 0;
};

/// A member function bound to an object that must outlive every call; a const one if T is const.
template <class T, class Signature>
class MethodFunctor;

template <class T, class R, class... Args>
class MethodFunctor<T, R(Args...)> final : public IFunctor<R(Args...)>
{
public:
    using Method = std::conditional_t<std::is_const_v<T>, R (T::*)(Args...) const, R (T::*)(Args...)>;

    MethodFunctor(T& object, Method method) : object(object), method(method) {}

    R Invoke(Args... args) override
    {
        return (object.*method)(std::forward<Args>(args)...);
    }

private:
    T& object;
    Method method;
};

template <class T, class Signature>
using ConstMethodFunctor = MethodFunctor<const T, Signature>;

/// A callable value. Copies share one functor, so that binding allocates once and passing on allocates nothing.
/// Threads: as safe as the functor it holds. Throws InvalidOperationException when called while empty.
template <class Signature>
class delegate;

template <class R, class... Args>
class delegate<R(Args...)> final
{
public:
    delegate() = default;

    explicit delegate(std::shared_ptr<IFunctor<R(Args...)>> functor) : functor(std::move(functor)) {}

    template <class T>
    [[nodiscard]] static delegate Bind(T& object, R (T::*method)(Args...))
    {
        return delegate(std::make_shared<MethodFunctor<T, R(Args...)>>(object, method));
    }

    template <class T>
    [[nodiscard]] static delegate Bind(const T& object, R (T::*method)(Args...) const)
    {
        return delegate(std::make_shared<ConstMethodFunctor<T, R(Args...)>>(object, method));
    }

    R operator()(Args... args) const
    {
        if (!functor)
        {
            throw System::Commons::InvalidOperationException::Create("The delegate is empty");
        }
        return functor->Invoke(std::forward<Args>(args)...);
    }

    [[nodiscard]] explicit operator bool() const noexcept
    {
        return functor != nullptr;
    }

private:
    std::shared_ptr<IFunctor<R(Args...)>> functor;
};

} // namespace Oxa
