TEST(List, IsReadAnew)
TEST_P(List, Reports_What_It_Was_Asked_For)
{
    fail("told");
}
