#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Sets (or, with nullopt, removes) an environment variable for the life of the object.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const std::optional<std::string>& value) : m_name(name)
    {
        if (const char* old = std::getenv(name))
            m_old = old;
        Apply(value);
    }
    ~ScopedEnvironment() { Apply(m_old); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void Apply(const std::optional<std::string>& value)
    {
        if (value)
            setenv(m_name.c_str(), value->c_str(), 1);
        else
            unsetenv(m_name.c_str());
    }
    std::string m_name;
    std::optional<std::string> m_old;
};

// Several variables set for the life of the object, and put back in the reverse order.
class ScopedEnvironments {
public:
    explicit ScopedEnvironments(const std::vector<std::pair<const char*, const char*>>& values)
    {
        for (const auto& [name, value] : values) m_variables.push_back(std::make_unique<ScopedEnvironment>(name, std::string(value)));
    }
    ~ScopedEnvironments()
    {
        while (!m_variables.empty()) m_variables.pop_back();
    }

private:
    std::vector<std::unique_ptr<ScopedEnvironment>> m_variables;
};
