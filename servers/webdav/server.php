<?php
/*
 * SabreDAV 1.8 behind PHP's built-in server, for the integration tests and the demo:
 *
 *   QMR_WEBDAV_ROOT=/tmp/x php -S 127.0.0.1:PORT servers/webdav/server.php
 *
 * Every request comes through this router script, whatever its method.
 *
 * Environment:
 *   QMR_WEBDAV_ROOT      (required) scratch directory owned by this server; the served
 *                        tree is its "tree" subdirectory, which starts empty
 *   QMR_WEBDAV_USER      account name, default "alice"
 *   QMR_WEBDAV_PASSWORD  account password, default "secret"
 *   QMR_WEBDAV_HONOUR_LOCK_TIMEOUT  "1": grant the finite lock timeout the client asks
 *                        for instead of SabreDAV's fixed 1800 seconds
 *
 * Files kept in QMR_WEBDAV_ROOT, outside the served tree:
 *   quota.json   {"used": N, "available": M}: what every collection reports as
 *                DAV:quota-used-bytes and DAV:quota-available-bytes (read per request)
 *   locks        the lock backend's store
 *   php-errors.log  PHP diagnostics, which must never reach a response body
 */

// SabreDAV 1.8 predates PHP 8: it triggers deprecations (and the odd notice) that
// would otherwise be printed into the XML bodies the client parses.
error_reporting(E_ALL & ~E_DEPRECATED & ~E_USER_DEPRECATED & ~E_NOTICE & ~E_USER_NOTICE & ~E_STRICT);
ini_set('display_errors', '0');
ini_set('display_startup_errors', '0');
ini_set('html_errors', '0');

$root = getenv('QMR_WEBDAV_ROOT');
if ($root === false || $root === '' || !is_dir($root)) {
    header('HTTP/1.1 500 Internal Server Error');
    header('Content-Type: text/plain');
    echo "QMR_WEBDAV_ROOT must name an existing directory\n";
    return true;
}
$root = rtrim($root, '/');
ini_set('log_errors', '1');
ini_set('error_log', $root . '/php-errors.log');

$treeDir = $root . '/tree';
if (!is_dir($treeDir)) mkdir($treeDir, 0700);

$user = getenv('QMR_WEBDAV_USER');
$password = getenv('QMR_WEBDAV_PASSWORD');
if ($user === false || $user === '') $user = 'alice';
if ($password === false) $password = 'secret';

require_once 'Sabre/autoload.php';
require_once __DIR__ . '/QuotaFile.php';
require_once __DIR__ . '/QuotaDirectory.php';
require_once __DIR__ . '/SingleUserBasicAuth.php';
require_once __DIR__ . '/RequestedTimeoutLockBackend.php';

$server = new Sabre\DAV\Server(new QMR\WebDav\QuotaDirectory($treeDir, $root . '/quota.json'));
// The service's WebDAV root is the server root: "/data/<id>".
$server->setBaseUri('/');

$server->addPlugin(new Sabre\DAV\Auth\Plugin(
    new QMR\WebDav\SingleUserBasicAuth($user, $password), 'DataStore test server'));

$locksFile = $root . '/locks';
$locksBackend = getenv('QMR_WEBDAV_HONOUR_LOCK_TIMEOUT') === '1'
    ? new QMR\WebDav\RequestedTimeoutLockBackend($locksFile)
    : new Sabre\DAV\Locks\Backend\File($locksFile);
$server->addPlugin(new Sabre\DAV\Locks\Plugin($locksBackend));

$server->exec();
return true;
