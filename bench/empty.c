// What it costs to start any program at all.
int main(void)
{
    return 0;
}
