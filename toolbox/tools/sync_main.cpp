/// `sync` on this host. What was written to an attached volume is in the page cache, where the
/// tools that eject and convert it find it: there is nothing to wait for, and flushing every disk
/// of a busy build server takes long.
int main()
{
    return 0;
}
