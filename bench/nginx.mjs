// nginx with a configuration of its own: serves some files over loopback.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';

import { freePort, isRoot, keepChild, listening, removeFolder, temporaryFolder, until } from '../tests/support/tools.mjs';

export class Nginx {
  // files: name: content
  static async start(files) {
    const nginx = new Nginx();
    nginx.folder = temporaryFolder('nginx');
    fs.chmodSync(nginx.folder, 0o755);
    nginx.port = await freePort();
    for (const [name, content] of Object.entries(files)) fs.writeFileSync(path.join(nginx.folder, name), content);
    const config = path.join(nginx.folder, 'nginx.conf');
    fs.writeFileSync(config, `daemon off;
${isRoot() ? 'user nobody nogroup;' : ''}
worker_processes 1;
pid ${nginx.folder}/pid;
error_log ${nginx.folder}/error.log;
events { worker_connections 64; }
http {
  access_log off;
  sendfile on;
  tcp_nopush on;
  keepalive_requests 100000000;
  default_type text/html;
  open_file_cache max=16;
  ${['client_body', 'proxy', 'fastcgi', 'uwsgi', 'scgi'].map((name) => `${name}_temp_path ${nginx.folder}/${name};`).join('\n  ')}
  server { listen 127.0.0.1:${nginx.port}; root ${nginx.folder}; }
}
`);
    nginx.child = keepChild(spawn('/usr/sbin/nginx', ['-c', config, '-e', path.join(nginx.folder, 'error.log')],
      { stdio: ['ignore', 'ignore', 'inherit'] }), 'SIGTERM');
    nginx.child.once('exit', () => { nginx.ended = true; });
    await listening(nginx.port, 'nginx');
    return nginx;
  }

  async stop() {
    if (!this.ended) {
      this.child.kill('SIGTERM');
      await until(() => this.ended, 'the end of nginx');
    }
    removeFolder(this.folder);
  }
}
