#!/usr/bin/python3
"""The FTP servers of a test run (and of the benchmark), on 127.0.0.1 only, each on a free port.

    ftp_servers.py start FOLDER TIME_LIMIT   starts them in the background and returns once
                                             they listen; FOLDER/servers.env then exports
                                             their ports, folders and the command log
    ftp_servers.py stop FOLDER               stops them

- "main": pyftpdlib with anonymous access and the user tester/secret, both writable. It
  also accepts any user named "watch-..." or "fault-..." (password "secret"), and logs every
  command of every session as "user<TAB>command" to FOLDER/commands.log (passwords
  masked), so that tests can see what a client sent. A user name asks for a fault:
    fault-data425xN / fault-data426xN   the first N data commands of each session are
                                        answered 425 or 426
    fault-file425xN / fault-file426xN   the same for file transfers (RETR, STOR) only
    fault-dropK                         the control connection is dropped, without a reply,
                                        at the session's K-th command after the login
    fault-cutK                          a file transfer's data and control connections are
                                        both dropped once K bytes have moved, without a reply
    refused                             the login is answered "421 Too many users" and the
                                        connection closed
- "vsftpd": vsftpd in the foreground with a configuration of its own, anonymous only;
  uploads and new folders are allowed, deleting and renaming are not.

Every server stops by itself after TIME_LIMIT seconds, whatever happens to the test run.
"""
import logging
import os
import re
import signal
import socket
import subprocess
import sys
import time

DATA_COMMANDS = {"LIST", "NLST", "MLSD", "RETR", "STOR", "APPE", "STOU"}
FILE_COMMANDS = {"RETR", "STOR", "APPE", "STOU"}


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def main_server(root, log_path):
    from pyftpdlib.authorizers import AuthenticationFailed, DummyAuthorizer
    from pyftpdlib.handlers import ActiveDTP, DTPHandler, FTPHandler
    from pyftpdlib.log import config_logging
    from pyftpdlib.servers import FTPServer

    class Authorizer(DummyAuthorizer):
        """tester/secret, anonymous, and the watched and faulty users, all in one root."""

        def validate_authentication(self, username, password, handler):
            if re.match(r"(watch|fault)-", username):
                if password != "secret":
                    raise AuthenticationFailed("Authentication failed.")
                return
            DummyAuthorizer.validate_authentication(self, username, password, handler)

        def _known(self, username):
            return username if username in self.user_table else "tester"

        def get_home_dir(self, username):
            return DummyAuthorizer.get_home_dir(self, self._known(username))

        def has_perm(self, username, perm, path=None):
            return DummyAuthorizer.has_perm(self, self._known(username), perm, path)

        def get_perms(self, username):
            return DummyAuthorizer.get_perms(self, self._known(username))

        def get_msg_login(self, username):
            return "Login successful."

        def get_msg_quit(self, username):
            return "Goodbye."

    class CuttingDTPHandler(DTPHandler):
        """Drops the whole session in the middle of a transfer for the fault-cutK users."""

        def _cut_after(self, moved):
            limit = self.cmd_channel.cut_after
            if limit is not None and moved >= limit:
                self.cmd_channel.log_file.write("%s\t(cut)\n" % self.cmd_channel.username)
                self.cmd_channel.close()
                return True
            return False

        def send(self, data):
            return 0 if self._cut_after(self.tot_bytes_sent) else DTPHandler.send(self, data)

        def handle_read(self):
            if not self._cut_after(self.tot_bytes_received):
                DTPHandler.handle_read(self)

        handle_read_event = handle_read

    class HandingOverActiveDTP(ActiveDTP):
        """pyftpdlib's active-mode connector keeps the descriptor of the data socket it hands
        over and unregisters it when the session's next PORT closes the connector: by then
        the number may belong to another session's control connection, which is then never
        served again. Once the socket is handed over, the connector forgets its number."""

        def handle_connect(self):
            ActiveDTP.handle_connect(self)
            self._fileno = None

    class Handler(FTPHandler):
        dtp_handler = CuttingDTPHandler
        active_dtp = HandingOverActiveDTP
        auth_failed_timeout = 0.05
        log_file = open(log_path, "a", buffering=1)
        after_login = 0
        cut_after = None  # the byte count after which a fault-cutK session is dropped
        data_faults = 0

        def on_login(self, username):
            cut = re.fullmatch(r"fault-cut(\d+)", username)
            if cut:
                self.cut_after = int(cut.group(1))
                self.use_sendfile = False  # every byte sent goes through CuttingDTPHandler.send
            found = re.fullmatch(r"fault-(data|file)(42[56])x(\d+)", username)
            if found:
                self.faulty = DATA_COMMANDS if found.group(1) == "data" else FILE_COMMANDS
                self.data_faults = int(found.group(3))
                self.data_reply = found.group(2)

        def pre_process_command(self, line, cmd, arg):
            user = self.username or "-"
            shown = "PASS ******" if cmd == "PASS" else line
            self.log_file.write("%s\t%s\n" % (user, shown))
            if cmd == "PASS" and user == "refused":
                self.respond("421 Too many users, try again later.")
                self.close_when_done()
                return
            if self.authenticated:
                self.after_login += 1
                dropped = re.fullmatch(r"fault-drop(\d+)", user)
                if dropped and self.after_login >= int(dropped.group(1)):
                    self.log_file.write("%s\t(dropped)\n" % user)
                    self.close()
                    return
                if self.data_faults > 0 and cmd in self.faulty:
                    self.data_faults -= 1
                    if self.data_reply == "425":
                        self.respond("425 Can't open data connection.")
                    else:
                        self.respond("426 Connection closed; transfer aborted.")
                    return
            FTPHandler.pre_process_command(self, line, cmd, arg)

    config_logging(level=logging.WARNING)
    authorizer = Authorizer()
    authorizer.add_user("tester", "secret", root, perm="elradfmwMT")
    authorizer.add_anonymous(root, perm="elradfmwMT")
    Handler.authorizer = authorizer
    Handler.permit_foreign_addresses = True
    server = FTPServer(("127.0.0.1", 0), Handler)
    server.max_cons = 512
    return server


def vsftpd_config(folder, root, port):
    path = os.path.join(folder, "vsftpd.conf")
    settings = {
        "listen": "YES", "listen_ipv6": "NO", "background": "NO",
        "listen_address": "127.0.0.1", "listen_port": str(port),
        "anonymous_enable": "YES", "local_enable": "NO", "no_anon_password": "YES",
        "anon_root": root, "write_enable": "YES", "anon_upload_enable": "YES",
        "anon_mkdir_write_enable": "YES", "anon_other_write_enable": "NO", "anon_umask": "022",
        "pasv_enable": "YES", "port_enable": "YES", "connect_from_port_20": "NO",
        "seccomp_sandbox": "NO", "dirmessage_enable": "NO", "xferlog_enable": "NO",
        "vsftpd_log_file": os.path.join(folder, "vsftpd.log"),
        "secure_chroot_dir": "/var/run/vsftpd/empty", "ftp_username": "ftp",
        "pam_service_name": "vsftpd", "max_clients": "200", "max_per_ip": "200",
    }
    with open(path, "w") as config:
        config.writelines("%s=%s\n" % item for item in settings.items())
    return path


def serve(folder, time_limit, ready):
    """Runs in the detached child: the servers until the time limit, then stops them all."""
    main_root = os.path.join(folder, "main")
    vsftpd_root = os.path.join(folder, "vsftpd")
    os.makedirs(main_root, exist_ok=True)
    os.makedirs(os.path.join(vsftpd_root, "pub"), exist_ok=True)
    # vsftpd refuses a writable root for anonymous sessions; its "pub" folder is writable.
    os.chmod(vsftpd_root, 0o555)
    os.chown(os.path.join(vsftpd_root, "pub"), *ftp_ids())
    log_path = os.path.join(folder, "commands.log")
    open(log_path, "w").close()

    server = main_server(main_root, log_path)
    main_port = server.socket.getsockname()[1]
    vsftpd_port = free_port()
    vsftpd = subprocess.Popen(
        ["timeout", str(time_limit), "vsftpd", vsftpd_config(folder, vsftpd_root, vsftpd_port)],
        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=open(os.path.join(folder, "vsftpd.err"), "w"))
    wait_for_port(vsftpd_port, vsftpd)

    with open(os.path.join(folder, "servers.env"), "w") as env:
        env.write("export VOFS_FTP_PORT=%d\n" % main_port)
        env.write("export VOFS_FTP_ROOT=%s\n" % main_root)
        env.write("export VOFS_FTP_LOG=%s\n" % log_path)
        env.write("export VOFS_VSFTPD_PORT=%d\n" % vsftpd_port)
        env.write("export VOFS_VSFTPD_ROOT=%s\n" % vsftpd_root)
        env.write("ftp_servers_pid=%d\n" % os.getpid())
    os.write(ready, b"ready")
    os.close(ready)

    deadline = time.monotonic() + time_limit
    # pyftpdlib's loop swallows the exit a signal handler raises, so the handler only
    # asks the loop below to end.
    stopping = []
    signal.signal(signal.SIGTERM, lambda *_: stopping.append(True))
    wait = 0.5
    try:
        while not stopping and time.monotonic() < deadline and vsftpd.poll() is None:
            # One pass of the server's loop; it answers when its next scheduled task is due.
            next_task = server.serve_forever(timeout=wait, blocking=False, handle_exit=False)
            wait = 0.5 if next_task is None else max(0.0, min(0.5, next_task))
    finally:
        vsftpd.terminate()  # timeout hands the signal on to vsftpd
        server.close_all()


def ftp_ids():
    import pwd
    entry = pwd.getpwnam("ftp")
    return entry.pw_uid, entry.pw_gid


def wait_for_port(port, process):
    for _ in range(200):
        if process.poll() is not None:
            raise SystemExit("vsftpd did not start (exit code %s)" % process.returncode)
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return
        time.sleep(0.05)
    raise SystemExit("vsftpd does not listen on port %d" % port)


def start(folder, time_limit):
    stop(folder)
    os.makedirs(folder, exist_ok=True)
    read_end, write_end = os.pipe()
    if os.fork() == 0:
        os.close(read_end)
        os.setsid()
        null = os.open(os.devnull, os.O_RDWR)
        errors = os.open(os.path.join(folder, "servers.err"), os.O_WRONLY | os.O_CREAT | os.O_TRUNC)
        os.dup2(null, 0)
        os.dup2(null, 1)
        os.dup2(errors, 2)
        try:
            serve(folder, time_limit, write_end)
        finally:
            os._exit(0)
    os.close(write_end)
    answer = os.read(read_end, 16)
    if answer != b"ready":
        with open(os.path.join(folder, "servers.err")) as errors:
            sys.exit("the FTP servers did not start:\n" + errors.read())
    print(open(os.path.join(folder, "servers.env")).read(), end="")


def stop(folder):
    env = os.path.join(folder, "servers.env")
    if not os.path.exists(env):
        return
    pid = re.search(r"ftp_servers_pid=(\d+)", open(env).read())
    os.remove(env)
    if pid:
        try:
            os.killpg(int(pid.group(1)), signal.SIGTERM)
        except ProcessLookupError:
            pass


if __name__ == "__main__":
    if len(sys.argv) == 4 and sys.argv[1] == "start":
        start(os.path.abspath(sys.argv[2]), int(sys.argv[3]))
    elif len(sys.argv) == 3 and sys.argv[1] == "stop":
        stop(os.path.abspath(sys.argv[2]))
    else:
        sys.exit(__doc__)
