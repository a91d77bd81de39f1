<?php

namespace QMR\WebDav;

use Sabre\DAV\Locks\LockInfo;

/**
 * The stock file backend grants every lock 1800 seconds whatever the client
 * asked for. This one keeps a finite requested timeout, so a test can take a
 * lock that expires within seconds. "Infinite" (and no Timeout header) still
 * gets 1800 seconds: SabreDAV 1.8 can only write "Second-N" in its answers.
 */
class RequestedTimeoutLockBackend extends \Sabre\DAV\Locks\Backend\File {

    const FALLBACK_TIMEOUT = 1800;

    public function lock($uri, LockInfo $lockInfo) {

        $requested = $lockInfo->timeout;
        if (!is_int($requested) || $requested <= 0) $requested = self::FALLBACK_TIMEOUT;

        $lockInfo->timeout = $requested;
        $lockInfo->created = time();
        $lockInfo->uri = $uri;

        $locks = $this->getData();
        foreach ($locks as $k => $lock) {
            if ($lock->token == $lockInfo->token || time() > $lock->timeout + $lock->created) {
                unset($locks[$k]);
            }
        }
        $locks[] = $lockInfo;
        $this->putData($locks);
        return true;

    }

}
