#include "unit/api/StockedService.h"

#include <ostrel/DaemonConfiguration.h>

#include <future>

namespace
{

using service_case::Does;
using service_case::Operation;
using service_case::OstrelService;
using service_case::StockedService;

constexpr int threads = 4;
constexpr int rounds = 10;

class Queries : public StockedService
{
protected:
    /// What each query returns or throws, by its name.
    std::map<std::string, std::string> answersOf(OstrelService& service) const
    {
        std::map<std::string, std::string> answers;
        for (const Operation& query : queries) {
            std::string answer;
            const std::string thrown =
                support::thrownBy([&] { answer = query.call(service, argumentOf(query)); });
            answers[query.name] = thrown + '\n' + answer;
        }
        return answers;
    }

    /// Runs `work` repeatedly on several threads in parallel.
    template <class Work>
    static void runAtOnce(Work work)
    {
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::future<void>> results;
        for (int i = 0; i < threads; ++i) {
            results.push_back(std::async(std::launch::async, [&] {
                started.wait();
                for (int round = 0; round < rounds; ++round) {
                    work();
                }
            }));
        }
        start.set_value();
        for (std::future<void>& result : results) {
            result.get();
        }
    }

    const std::vector<Operation> queries = service_case::operationsThat(
        [](const Operation& operation) { return operation.does == Does::Query; });
};

TEST_F(Queries, AllSucceedOnAStockedService)
{
    OstrelService web("web");
    for (const auto& [name, answer] : answersOf(web)) {
        EXPECT_EQ(answer.substr(0, answer.find('\n')), "nothing") << name;
    }
}

TEST_F(Queries, OfOneObjectCanRunInSeveralThreads)
{
    OstrelService web("web");
    const std::map<std::string, std::string> expected = answersOf(web);
    const std::set<std::string> filesBefore = pipeFiles();
    runAtOnce([&] { EXPECT_EQ(answersOf(web), expected); });
    EXPECT_EQ(pipeFiles(), filesBefore);
}

// Includes the first use of the daemon configuration in this process.
TEST_F(Queries, OfSeparateObjectsCanRunInSeveralThreads)
{
    runAtOnce([this] {
        OstrelService web("web");
        EXPECT_EQ(answersOf(web).at("getIdCA"), "nothing\n2");
    });
}

} // namespace
